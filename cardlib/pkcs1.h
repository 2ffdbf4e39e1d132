// SPDX-License-Identifier: Apache-2.0
//
// RSA blocks as a card's raw RSA commands want them (PKCS#1 v1.5), the DigestInfo prefixes that go
// before a hash in them, and ASN.1 integers without leading zeros. Offered to hosts; the library
// itself does not use them.

#ifndef CARDLIB_PKCS1_H
#define CARDLIB_PKCS1_H

#include "cardlib/export.h"

// DER encodings of a DigestInfo up to the hash value (PKCS#1), and their lengths in bytes.
extern PINDESK_API const unsigned char MD5_OID[18];
extern PINDESK_API const unsigned char SHA1_OID[15];
extern PINDESK_API const unsigned char SHA256_OID[19];
extern PINDESK_API const unsigned long sizeof_MD5_OID;
extern PINDESK_API const unsigned long sizeof_SHA1_OID;
extern PINDESK_API const unsigned long sizeof_SHA256_OID;

/// Pads data to a block of type 1: 00 01, FF as often as needed, 00, data. Data as long as the
/// block is copied as it is.
/// \param toPad        the data, Len bytes.
/// \param Padded       receives ulBlockSize bytes; must not overlap toPad.
/// \param ulBlockSize  Len or at least Len + 3; there is no minimum of FF bytes.
/// \return 1; 0 when the block is too small (which is traced), Len is negative or a pointer null.
PINDESK_API unsigned char SignaturePKCS1Padding(const unsigned char* toPad, int Len,
                                                unsigned char* Padded, unsigned long ulBlockSize);

/// Pads data to a block of type 2, as above but with 02 and random bytes in place of 01 and FF. The
/// random bytes are rand() % 255: never FF, perhaps 0 (which shortens the padding for a reader),
/// and as unpredictable as the host's srand() makes them.
/// \return 1; 0 when the block is too small, Len is negative or a pointer null.
PINDESK_API unsigned char EncryptionPKCS1Padding(const unsigned char* toPad, int Len,
                                                 unsigned char* Padded, unsigned long ulBlockSize);

/// Takes the data out of a block of type 1 or 2: what follows the first 00 behind the type. The
/// padding bytes themselves are not checked.
/// \param pToUnPad       the block, toUnPadLen bytes, at least 11.
/// \param pUnPadded      receives the data; null asks for its length.
/// \param pUnpaddedLen   in: capacity; out: the data length, also when it does not fit.
/// \return false when a pointer other than pUnPadded is null or the block is not of such a form;
///         true otherwise, also when nothing was copied.
PINDESK_API bool PKCS1UnPad(const unsigned char* pToUnPad, int toUnPadLen, unsigned char* pUnPadded,
                            int* pUnpaddedLen);

/// Length of a value without the pad bytes at its end; 0 for nothing but pad bytes, or for null.
PINDESK_API unsigned long GetLengthUnpadded(const unsigned char* pbValue, unsigned long cbValue,
                                            unsigned char bPaddingValue);

/// Strips the leading zero bytes of a big-endian number, with the big-number functions of the
/// libcrypto that the host process has loaded.
/// \param pulNum  in: length; out: length of the returned number, 0 for zero. Stays on failure.
/// \return a new buffer, to be freed with array delete; null when a pointer is null, the length is
///         0 or above the range of int, there is no memory, or the process has no libcrypto.
PINDESK_API unsigned char* NormalizeASN1Integer(const unsigned char* pbNum, unsigned long* pulNum);

#endif
