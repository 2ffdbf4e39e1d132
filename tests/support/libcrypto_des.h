// SPDX-License-Identifier: Apache-2.0
//
// The same cryptography from libcrypto, beside which ours is tested.

#ifndef TESTS_SUPPORT_LIBCRYPTO_DES_H
#define TESTS_SUPPORT_LIBCRYPTO_DES_H

#define OPENSSL_SUPPRESS_DEPRECATED // single DES has no other interface here

#include <openssl/des.h>

#include <algorithm>
#include <random>

#include "tests/support/scripted_pcsc.h"

using scripted::Bytes;
using scripted::FromHex;

namespace libcrypto {

/// The same sequence in each run.
inline Bytes Random(std::size_t cb)
{
    static std::mt19937 generator(20);
    Bytes bytes(cb);
    std::generate(bytes.begin(), bytes.end(),
                  [] { return static_cast<std::uint8_t>(generator()); });
    return bytes;
}

inline DES_key_schedule Schedule(const std::uint8_t* pKey)
{
    DES_cblock key;
    std::copy_n(pKey, sizeof key, key);
    DES_key_schedule schedule;
    DES_set_key_unchecked(&key, &schedule);
    return schedule;
}

/// Triple-DES, CBC, zero IV, over whole blocks.
inline Bytes TdesCbc(const Bytes& key, const Bytes& in, int direction)
{
    DES_key_schedule k1 = Schedule(&key[0]), k2 = Schedule(&key[8]), k3 = Schedule(&key[16]);
    DES_cblock iv = {};
    Bytes out(in.size());
    DES_ede3_cbc_encrypt(in.data(), out.data(), static_cast<long>(in.size()), &k1, &k2, &k3, &iv,
                         direction);
    return out;
}

/// Padding method 2 of ISO/IEC 9797-1.
inline Bytes IsoPadded(Bytes data)
{
    data.push_back(0x80);
    data.resize((data.size() + 7) / 8 * 8);
    return data;
}

/// MAC algorithm 3 of ISO/IEC 9797-1 with padding method 1.
inline Bytes RetailMac(const Bytes& key, Bytes message)
{
    DES_key_schedule k1 = Schedule(&key[0]), k2 = Schedule(&key[8]), k3 = Schedule(&key[16]);
    message.resize((message.size() + 7) / 8 * 8);
    DES_cblock block = {};
    DES_ncbc_encrypt(message.data(), message.data(), static_cast<long>(message.size()), &k1, &block,
                     DES_ENCRYPT); // leaves the last cipher block in its chaining value
    DES_ecb_encrypt(&block, &block, &k2, DES_DECRYPT);
    DES_ecb_encrypt(&block, &block, &k3, DES_ENCRYPT);
    return {block, block + sizeof block};
}

} // namespace libcrypto

#endif
