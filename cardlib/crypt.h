// SPDX-License-Identifier: Apache-2.0
//
// Triple-DES in cipher-block chaining (FIPS 81): over whole blocks, over a buffer in place, and
// over data of any length with a length byte in the last block.
//
// Directions are ints: 0 encrypts, any other value decrypts; a schedule must have been built for
// the same direction. No pointer may be null unless it is said. Input and output are the same
// buffer or do not overlap.

#ifndef CARDLIB_CRYPT_H
#define CARDLIB_CRYPT_H

#include "cardlib/export.h"

/// Enciphers or deciphers whole blocks.
/// \param schedule  3 * 16 pairs of words from des3key.
/// \param iv        8 bytes: the chaining value; afterwards the last cipher block.
/// \param in, out   length bytes each.
/// \param length    a multiple of 8; bytes after the last whole block are neither read nor written.
/// \return 0
PINDESK_API int doCryptEx(const unsigned int (*schedule)[2], unsigned char* iv,
                          const unsigned char* in, unsigned char* out, unsigned long length,
                          int direction);

/// Enciphers or deciphers the final block, which carries 0 to 7 data bytes and their number in its
/// last byte.
/// \param in    encryption: *pLen bytes; decryption: 8 bytes.
/// \param out   encryption: 8 bytes; decryption: *pLen bytes.
/// \param pLen  encryption: number of data bytes, 0 to 7; decryption: receives it.
/// \return 0; -1 when the count (given, or found after deciphering) is above 7: then nothing is
///         written to out and *pLen stays.
PINDESK_API int doCryptExFinal(const unsigned int (*schedule)[2], unsigned char* iv,
                               const unsigned char* in, unsigned char* out, unsigned long* pLen,
                               int direction);

/// Enciphers or deciphers a buffer in place with a zero chaining value. The schedule is wiped.
/// \param key     24 bytes: K1 | K2 | K3.
/// \param length  a multiple of 8 and not 0; bytes after the last whole block are left as they are.
/// \return 0
PINDESK_API int doencrypt(const unsigned char* key, unsigned char* buf, unsigned long length,
                          int direction);

/// Enciphers data of any length with a zero chaining value and a final length-byte block, which
/// always exists, also behind whole blocks.
/// \param key   24 bytes; must not be null.
/// \param pOut  receives the cipher text, to be freed with CBCDes3Free; null on failure.
/// \return the cipher length: length rounded down to whole blocks, plus 8; -1 when in or pOut is
///         null, length is 0, or there is no memory.
PINDESK_API long CBCDes3EncryptData(const unsigned char* key, const unsigned char* in,
                                    unsigned long length, unsigned char** pOut);

/// Deciphers what CBCDes3EncryptData made.
/// \param key   24 bytes; must not be null.
/// \param size  cipher length: a multiple of 8 and not 0.
/// \param pOut  receives a buffer of size bytes with the plain data at its front, to be wiped by
///              the caller and freed with CBCDes3Free; null on failure.
/// \return the plain length; -1 when in or pOut is null, size is 0 or not a multiple of 8, the
///         final block's count is above 7, or there is no memory.
PINDESK_API long CBCDes3DecryptData(const unsigned char* key, const unsigned char* in,
                                    unsigned long size, unsigned char** pOut);

/// Frees a buffer returned by the two functions above; null is ignored. It does not wipe.
PINDESK_API void CBCDes3Free(unsigned char* buffer);

#endif
