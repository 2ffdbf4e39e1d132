// SPDX-License-Identifier: Apache-2.0
//
// The cryptography of secure messaging from libcrypto, beside which ours is tested, and the
// envelopes made of it: what a host sends and what a card sends back.

#ifndef TESTS_SUPPORT_ENVELOPES_H
#define TESTS_SUPPORT_ENVELOPES_H

#include "tests/support/bytes.h"

#include <optional>

namespace libcrypto {

/// Triple-DES, CBC, zero IV, over whole blocks, with a key of 24 bytes.
Bytes Encipher(const Bytes& key, const Bytes& blocks);
Bytes Decipher(const Bytes& key, const Bytes& blocks);

/// Padding methods 1 and 2 of ISO/IEC 9797-1.
Bytes ZeroPadded(Bytes data);
Bytes IsoPadded(Bytes data);

/// MAC algorithm 3 of ISO/IEC 9797-1 with padding method 1.
Bytes RetailMac(const Bytes& key, const Bytes& message);

} // namespace libcrypto

/// The keys of an envelope, 24 bytes each, and the parts of the dialogue that its MACs cover.
struct SEnvelope {
    Bytes sig, enc;
    Bytes challenge = {};  ///< the card's, in the MAC of a command
    Bytes hostRandom = {}; ///< in the MAC of an answer
    Bytes header = {};     ///< the last command's, in the MAC of its answer

    /// 8E over the command's header and an object, each padded.
    Bytes CommandChecksum(const Bytes& macHeader, const Bytes& object) const;

    /// 8E over the answer's object. On purpose the header in front of it is not padded here.
    Bytes AnswerChecksum(const Bytes& object) const;

    /// The padding indicator and enciphered data, under tag 86 or 87.
    Bytes Cryptogram(std::uint8_t bTag, const Bytes& padded) const;

    /// \name The host's side
    ///@{
    /// Class, INS, P1, P2, Lc and data as they are sent: class 0C, the caller's in the MAC alone.
    Bytes ProtectCommand(const Bytes& plain) const;
    ///@}

    /// \name The card's side
    ///@{
    /// Header (class 00), Lc and data of a protected command, whose header is kept; nothing when
    /// a length, the checksum or the padding is wrong.
    std::optional<Bytes> OpenCommand(const Bytes& command);

    /// Cryptogram, checksum and status word around a text that is padded already.
    Bytes ProtectAnswer(const Bytes& padded, int nStatusWord = 0x9000) const;
    ///@}
};

#endif
