// SPDX-License-Identifier: Apache-2.0
//
// RSA with private keys in CRT form. A key block is p | q | q^-1 mod p | d mod p-1 | d mod q-1,
// five numbers of half the modulus's length, then 8 bytes that hold the public exponent.
#ifndef TOOLS_VIRTUALCARD_MODEL_RSA_H
#define TOOLS_VIRTUALCARD_MODEL_RSA_H

#include "model/bytes.h"

namespace vcard {

struct SRsaPublicKey {
    Bytes abModulus, abExponent; ///< big-endian, the exponent without leading zeros
};

/// Bytes of the modulus of a key block, 0 for bytes that have no key block's length.
std::size_t RsaModulusSize(ByteView keyBlock);

/// True when the five numbers and the exponent belong together.
bool IsSoundKeyBlock(ByteView keyBlock);

/// PKCS#1 v1.5 block type 1 around the data, then the private operation; modulus size.
/// Throws SRefusal: 6985 without a key, 6700 when the data doesn't fit.
Bytes RsaSign(ByteView keyBlock, ByteView data);

/// The bare private operation on a cryptogram of modulus size; the padding stays.
/// Throws SRefusal: 6985 without a key, 6700 on another length, 6A80 on a number not below the
/// modulus.
Bytes RsaDecipher(ByteView keyBlock, ByteView cryptogram);

/// The public half of a key block. Throws SRefusal(6985) without a key.
SRsaPublicKey RsaPublicKey(ByteView keyBlock);

/// The key block of a new key pair; wBits is 1024 or 2048, an empty exponent stands for 65537.
/// Throws SRefusal(6A80) on another size or an exponent that is even or below 3.
Bytes GenerateRsaKey(std::uint16_t wBits, ByteView exponent);

} // namespace vcard

#endif
