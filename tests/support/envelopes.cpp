// SPDX-License-Identifier: Apache-2.0

#include "tests/support/envelopes.h"

#define OPENSSL_SUPPRESS_DEPRECATED // single DES has no other interface here

#include <openssl/des.h>

#include <algorithm>

namespace {

struct SSchedules {
    explicit SSchedules(const Bytes& key)
    {
        for (std::size_t i = 0; i < 3; ++i) {
            DES_cblock third;
            std::copy_n(key.begin() + static_cast<long>(i * sizeof third), sizeof third, third);
            DES_set_key_unchecked(&third, &k[i]);
        }
    }
    DES_key_schedule k[3];
};

Bytes TdesCbc(const Bytes& key, const Bytes& in, int iDirection)
{
    SSchedules s(key);
    DES_cblock iv = {};
    Bytes out(in.size());
    DES_ede3_cbc_encrypt(in.data(), out.data(), static_cast<long>(in.size()), &s.k[0], &s.k[1],
                         &s.k[2], &iv, iDirection);
    return out;
}

} // namespace

namespace libcrypto {

Bytes Encipher(const Bytes& key, const Bytes& blocks)
{
    return TdesCbc(key, blocks, DES_ENCRYPT);
}

Bytes Decipher(const Bytes& key, const Bytes& blocks)
{
    return TdesCbc(key, blocks, DES_DECRYPT);
}

Bytes ZeroPadded(Bytes data)
{
    data.resize((data.size() + 7) / 8 * 8);
    return data;
}

Bytes IsoPadded(Bytes data)
{
    data.push_back(0x80);
    return ZeroPadded(std::move(data));
}

Bytes RetailMac(const Bytes& key, const Bytes& message)
{
    SSchedules s(key);
    Bytes padded = ZeroPadded(message);
    DES_cblock block = {};
    DES_ncbc_encrypt(padded.data(), padded.data(), static_cast<long>(padded.size()), &s.k[0],
                     &block, DES_ENCRYPT); // leaves the last cipher block in its chaining value
    DES_ecb_encrypt(&block, &block, &s.k[1], DES_DECRYPT);
    DES_ecb_encrypt(&block, &block, &s.k[2], DES_ENCRYPT);
    return {block, block + sizeof block};
}

} // namespace libcrypto

using libcrypto::ZeroPadded;

Bytes SEnvelope::CommandChecksum(const Bytes& macHeader, const Bytes& object) const
{
    return Object(0x8E, libcrypto::RetailMac(sig, ZeroPadded(challenge + macHeader) + object));
}

Bytes SEnvelope::AnswerChecksum(const Bytes& object) const
{
    return Object(0x8E, libcrypto::RetailMac(sig, hostRandom + header + ZeroPadded(object)));
}

Bytes SEnvelope::Cryptogram(std::uint8_t bTag, const Bytes& padded) const
{
    return Object(bTag, Bytes{0x01} + libcrypto::Encipher(enc, padded));
}

Bytes SEnvelope::ProtectCommand(const Bytes& plain) const
{
    const Bytes macHeader = {static_cast<std::uint8_t>((plain[0] & 0xF0) | 0x0C), plain[1],
                             plain[2], plain[3]};
    const Bytes data(plain.begin() + std::min<long>(5, std::ssize(plain)), plain.end());
    const Bytes object = Cryptogram(0x87, libcrypto::IsoPadded(data));
    Bytes command = Object(plain[3], object + CommandChecksum(macHeader, object)); // P2, Lc, data
    command.insert(command.begin(), {0x0C, plain[1], plain[2]});
    return command + Bytes{0x00};
}

std::optional<Bytes> SEnvelope::OpenCommand(const Bytes& command)
{
    constexpr std::size_t HEAD = 5, CHECKSUM = 10, LE = 1, SHORTEST = HEAD + 11 + CHECKSUM + LE;
    if (command.size() < SHORTEST || command[0] != 0x0C || command[4] != command.size() - 6 ||
        command[5] != 0x87 || command[6] + 2u + HEAD + CHECKSUM + LE != command.size() ||
        command[7] != 0x01 || command.back() != 0x00) {
        return std::nullopt;
    }
    header.assign(command.begin(), command.begin() + 4);
    const auto object = command.begin() + HEAD, checksum = command.end() - CHECKSUM - LE;
    if (CommandChecksum(header, {object, checksum}) != Bytes(checksum, command.end() - LE)) {
        return std::nullopt;
    }
    Bytes data = libcrypto::Decipher(enc, {object + 3, checksum});
    while (!data.empty() && data.back() == 0x00) {
        data.pop_back();
    }
    if (data.empty() || data.back() != 0x80) {
        return std::nullopt;
    }
    data.pop_back();
    return Bytes{0x00, command[1], command[2]} + Object(command[3], data);
}

Bytes SEnvelope::ProtectAnswer(const Bytes& padded, int nStatusWord) const
{
    const Bytes object = Cryptogram(0x87, padded);
    return object + AnswerChecksum(object) +
           Bytes{static_cast<std::uint8_t>(nStatusWord >> 8),
                 static_cast<std::uint8_t>(nStatusWord)};
}
