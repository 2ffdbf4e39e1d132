// SPDX-License-Identifier: Apache-2.0
//
// DES and Triple-DES on single blocks (FIPS 46-3): key schedules and the block cipher.
// Chaining is in crypt.h.

#ifndef CARDLIB_DES3PORT_H
#define CARDLIB_DES3PORT_H

#include "cardlib/export.h"

/// Builds the sixteen round keys of one DES key.
/// \param schedule  receives 16 pairs of words, in the order in which they are applied. Each word
///                  holds four 6-bit groups, at bits 24, 16, 8 and 0: those of S-boxes 1, 3, 5, 7
///                  in the first word, of 2, 4, 6, 8 in the second. As secret as the key: the
///                  caller wipes it.
/// \param key       8 bytes; parity bits are ignored.
/// \param decrypt   0: round keys for encryption; otherwise: in reverse order, for decryption.
PINDESK_API void deskey(unsigned int (*schedule)[2], const unsigned char* key, int decrypt);

/// Builds a Triple-DES schedule: three DES schedules in a row, in the order in which they are
/// applied (encrypt K1, decrypt K2, encrypt K3; or decrypt K3, encrypt K2, decrypt K1).
/// \param schedule  receives 3 * 16 pairs of words; the caller wipes it.
/// \param key       24 bytes: K1 | K2 | K3; parity bits are ignored. With two keys, K3 is K1.
/// \param decrypt   0: schedule for encryption; otherwise for decryption.
PINDESK_API void des3key(unsigned int (*schedule)[2], const unsigned char* key, int decrypt);

/// Transforms one block in place: initial permutation, 3 * 16 rounds, final permutation.
/// \param schedule  3 * 16 pairs of words from des3key, whose direction is the one that counts.
/// \param block     8 bytes.
PINDESK_API void des3(const unsigned int (*schedule)[2], unsigned char* block);

#endif
