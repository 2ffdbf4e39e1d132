// SPDX-License-Identifier: Apache-2.0
//
// The SMxC envelopes in memory of fixed size: once a secret has left, want of memory must not keep
// a session from reading what its card says to it. Internal to the library.

#ifndef CARDLIB_CRYPTO_SMXC_H
#define CARDLIB_CRYPTO_SMXC_H

#include "cardlib/support/secret.h"
#include "cardlib/support/tlv.h"

namespace smxc {

constexpr std::size_t MAX_SEALED = 5 + 255 + 1; ///< header with Lc, data, Le
constexpr std::size_t MAX_PLAIN = 255;

/// What the envelopes of a command and of its answer are made with.
struct SMaterial {
    const unsigned char* pKeySig;   ///< 24 bytes
    const unsigned char* pKeyEnc;   ///< 24 bytes
    const unsigned char* pRandom;   ///< 8 bytes that open the MAC input; null: see sm_sig_enc.h
    unsigned char cla, ins, p1, p2; ///< of the plain command
};

/// Writes a command in its envelope.
/// \return its length; 0 when the data is too long for a short command.
std::size_t Seal(const SMaterial& material, const unsigned char* pData, std::size_t cbData,
                 CSecret<MAX_SEALED>& sealed);

/// How far the opening of an answer came.
enum class EOpened { NOT_PROTECTED, WRONG_CHECKSUM, UNREADABLE, OPENED };

/// Checks an answer and opens it.
/// \param cbPlain  receives the length; 0xFFFFFFFF when the padding is bad, else 0 on failure.
EOpened Open(const SMaterial& material, const CTlv& answer, CSecret<MAX_PLAIN>& plain,
             unsigned long& cbPlain);

} // namespace smxc

#endif
