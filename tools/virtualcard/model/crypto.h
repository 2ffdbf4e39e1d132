// SPDX-License-Identifier: Apache-2.0
//
// Triple-DES and the retail MAC, on libcrypto.
#ifndef TOOLS_VIRTUALCARD_MODEL_CRYPTO_H
#define TOOLS_VIRTUALCARD_MODEL_CRYPTO_H

#include "model/bytes.h"

namespace vcard {

constexpr std::size_t DES_BLOCK = 8, DES3_KEY = 24; // K1 | K2 | K3

/// Triple-DES (EDE) in CBC mode with a zero IV; data in whole blocks, no padding added or removed.
Bytes Des3Encrypt(const Bytes& key, const Bytes& data);
Bytes Des3Decrypt(const Bytes& key, const Bytes& data);

/// Padding method 1 of ISO/IEC 9797-1: zeros up to a whole block, none when it is whole already.
Bytes PadZeros(Bytes data);

/// Padding method 2: 80 and then zeros up to a whole block; at least one byte.
Bytes PadIso(Bytes data);
/// Takes it off. Throws SRefusal(6988) when the end isn't 80 and zeros.
Bytes UnpadIso(Bytes data);

/// Retail MAC: ISO/IEC 9797-1 algorithm 3 with padding method 1; 8 bytes.
Bytes RetailMac(const Bytes& key, const Bytes& message);

/// True when both are equal, found out in a time that depends on the length only.
bool SecretsEqual(ByteView a, ByteView b);

/// Fresh random bytes.
Bytes RandomBytes(std::size_t cb);

} // namespace vcard

#endif
