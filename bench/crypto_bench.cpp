// SPDX-License-Identifier: Apache-2.0
//
// The library's cryptography beside libcrypto's.

#define OPENSSL_SUPPRESS_DEPRECATED // single DES has no other interface here

#include <openssl/des.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "bench/ratios.h"
#include "cardlib/crypt.h"
#include "cardlib/des3port.h"
#include "cardlib/sm_sig_enc.h"

namespace {

using Bytes = std::vector<unsigned char>;

constexpr unsigned char KEY[24] = {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF,
                                   0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF, 0x01,
                                   0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF, 0x01, 0x23};
constexpr unsigned char RANDOM[8] = {0xA0, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7};

/// Both write what they compute to an output of their own, which must come out the same.
template <class FOurs, class FReference>
void Compare(const char* szWhat, FOurs ours, FReference reference, std::size_t cbOut)
{
    const auto ourOut = std::make_shared<Bytes>(cbOut);
    const auto referenceOut = std::make_shared<Bytes>(cbOut);
    ours(ourOut->data());
    reference(referenceOut->data());
    if (*ourOut != *referenceOut) {
        std::fprintf(stderr, "%s: the results differ\n", szWhat);
        std::exit(1);
    }
    AddPair(
        szWhat, [=] { ours(ourOut->data()); }, [=] { reference(referenceOut->data()); });
}

/// Three schedules of libcrypto.
struct SSchedules {
    explicit SSchedules(const unsigned char* key)
    {
        for (auto& schedule : m_aSchedules) {
            DES_cblock k;
            std::memcpy(k, key, sizeof k);
            DES_set_key_unchecked(&k, &schedule);
            key += sizeof k;
        }
    }

    std::array<DES_key_schedule, 3> m_aSchedules;
};

void ReferenceCbc(SSchedules& keys, const unsigned char* in, unsigned char* out, std::size_t cb,
                  int direction)
{
    DES_cblock iv = {};
    auto& [k1, k2, k3] = keys.m_aSchedules;
    DES_ede3_cbc_encrypt(in, out, static_cast<long>(cb), &k1, &k2, &k3, &iv, direction);
}

/// Over whole blocks, 64 bytes at most.
void ReferenceMac(const unsigned char* pMessage, std::size_t cb, unsigned char* pMac)
{
    SSchedules keys(KEY);
    auto& [k1, k2, k3] = keys.m_aSchedules;
    DES_cblock mac = {};
    unsigned char cipher[64];
    DES_ncbc_encrypt(pMessage, cipher, static_cast<long>(cb), &k1, &mac, DES_ENCRYPT);
    DES_ecb_encrypt(&mac, &mac, &k2, DES_DECRYPT);
    DES_ecb_encrypt(&mac, &mac, &k3, DES_ENCRYPT);
    std::memcpy(pMac, mac, sizeof mac);
}

constexpr std::size_t PIN_PAIR = 16; // data of a command: two padded PINs
constexpr std::size_t CIPHER = 24;   // the same, padded
constexpr std::size_t ENVELOPE = 19 + CIPHER;

void ReferenceEnvelope(const unsigned char* pPins, unsigned char* pOut)
{
    const std::unique_ptr<unsigned char[]> command(new unsigned char[ENVELOPE]());
    const unsigned char start[] = {0x0C, 0x24, 0x00, 0x90, ENVELOPE - 6, 0x87, CIPHER + 1, 0x01};
    std::memcpy(command.get(), start, sizeof start);
    unsigned char* const pCipher = command.get() + sizeof start;
    std::memcpy(pCipher, pPins, PIN_PAIR);
    pCipher[PIN_PAIR] = 0x80;
    SSchedules keys(KEY);
    ReferenceCbc(keys, pCipher, pCipher, CIPHER, DES_ENCRYPT);

    unsigned char message[48] = {};
    std::memcpy(message, RANDOM, 8);
    std::memcpy(message + 8, start, 4);
    std::memcpy(message + 16, start + 5, 3);
    std::memcpy(message + 19, pCipher, CIPHER);
    pCipher[CIPHER] = 0x8E;
    pCipher[CIPHER + 1] = 0x08;
    ReferenceMac(message, sizeof message, pCipher + CIPHER + 2);
    std::memcpy(pOut, command.get(), ENVELOPE);
}

void OurEnvelope(const unsigned char* pPins, unsigned char* pOut)
{
    unsigned long cb = 0;
    const std::unique_ptr<unsigned char[]> command(
        SMxC_ENC_SIG(KEY, KEY, RANDOM, 0x00, 0x24, 0x00, 0x90, pPins, PIN_PAIR, 0x00, &cb));
    std::memcpy(pOut, command.get(), ENVELOPE);
}

void CompareChaining(const Bytes& data, int direction)
{
    unsigned int schedule[48][2];
    des3key(schedule, KEY, direction);
    const auto keys = std::make_shared<SSchedules>(KEY);
    Compare(
        direction == 0 ? "CBC, encrypt 8 KiB" : "CBC, decrypt 8 KiB",
        [=, &data](unsigned char* pOut) {
            unsigned char iv[8] = {};
            doCryptEx(schedule, iv, data.data(), pOut, data.size(), direction);
        },
        [=, &data](unsigned char* pOut) {
            ReferenceCbc(*keys, data.data(), pOut, data.size(),
                         direction == 0 ? DES_ENCRYPT : DES_DECRYPT);
        },
        data.size());
}

} // namespace

int main(int argc, char** argv)
{
    Bytes data(8192);
    std::generate(data.begin(), data.end(), [] { return static_cast<unsigned char>(std::rand()); });

    CompareChaining(data, 0);
    CompareChaining(data, 1);
    Compare(
        "key schedule and 16 bytes",
        [&](unsigned char* pOut) {
            std::memcpy(pOut, data.data(), 16);
            doencrypt(KEY, pOut, 16, 0);
        },
        [&](unsigned char* pOut) {
            SSchedules keys(KEY);
            ReferenceCbc(keys, data.data(), pOut, 16, DES_ENCRYPT);
        },
        16);
    Compare(
        "retail MAC of 64 bytes",
        [&](unsigned char* pOut) { MAC3_AnsiPadded(KEY, data.data(), 64, pOut); },
        [&](unsigned char* pOut) { ReferenceMac(data.data(), 64, pOut); }, 8);
    Compare(
        "command envelope (SMxC_ENC_SIG)",
        [&](unsigned char* pOut) { OurEnvelope(data.data(), pOut); },
        [&](unsigned char* pOut) { ReferenceEnvelope(data.data(), pOut); }, ENVELOPE);
    return RunPairs(argc, argv);
}
