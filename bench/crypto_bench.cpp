// SPDX-License-Identifier: Apache-2.0
//
// The library's cryptography beside libcrypto's, in turns within one run: time per call of each,
// and their ratio (below 1: ours is faster). The median of many short rounds, so that what else the
// machine does weighs on both alike.

#define OPENSSL_SUPPRESS_DEPRECATED // single DES has no other interface here

#include <openssl/des.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "cardlib/crypt.h"
#include "cardlib/des3port.h"
#include "cardlib/sm_sig_enc.h"

namespace {

using Bytes = std::vector<unsigned char>;

constexpr unsigned char KEY[24] = {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF,
                                   0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF, 0x01,
                                   0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF, 0x01, 0x23};
constexpr unsigned char RANDOM[8] = {0xA0, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7};

/// Nanoseconds of one call, over nCalls of them.
template <class F> double Time(F&& call, int nCalls)
{
    const auto start = std::chrono::steady_clock::now();
    for (int n = 0; n < nCalls; ++n) {
        call();
    }
    const std::chrono::duration<double, std::nano> elapsed =
        std::chrono::steady_clock::now() - start;
    return elapsed.count() / nCalls;
}

double Median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2),
                     values.end());
    return values[values.size() / 2];
}

/// Runs both in turns and prints a line. Both write what they compute to an output of their own,
/// which must come out the same.
template <class FOurs, class FReference>
void Compare(const char* szWhat, FOurs ours, FReference reference, std::size_t cbOut)
{
    Bytes ourOut(cbOut);
    Bytes referenceOut(cbOut);
    const auto callOurs = [&] { ours(ourOut.data()); };
    const auto callReference = [&] { reference(referenceOut.data()); };
    callOurs();
    callReference();
    if (ourOut != referenceOut) {
        std::fprintf(stderr, "%s: the results differ\n", szWhat);
        std::exit(1);
    }
    constexpr double ROUND = 1e6; // nanoseconds
    const int nCalls = std::max(1, static_cast<int>(ROUND / Time(callReference, 10)));
    std::vector<double> ourTimes;
    std::vector<double> referenceTimes;
    for (int n = 0; n < 201; ++n) {
        ourTimes.push_back(Time(callOurs, nCalls));
        referenceTimes.push_back(Time(callReference, nCalls));
    }
    const double dOurs = Median(ourTimes);
    const double dReference = Median(referenceTimes);
    std::printf("%-36s %10.0f ns %10.0f ns %7.2f\n", szWhat, dOurs, dReference, dOurs / dReference);
}

/// Three schedules of libcrypto.
struct CSchedules {
    explicit CSchedules(const unsigned char* key)
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

void ReferenceCbc(CSchedules& keys, const unsigned char* in, unsigned char* out, std::size_t cb,
                  int direction)
{
    DES_cblock iv = {};
    auto& [k1, k2, k3] = keys.m_aSchedules;
    DES_ede3_cbc_encrypt(in, out, static_cast<long>(cb), &k1, &k2, &k3, &iv, direction);
}

/// Over whole blocks, 64 bytes at most.
void ReferenceMac(const unsigned char* pMessage, std::size_t cb, unsigned char* pMac)
{
    CSchedules keys(KEY);
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
    CSchedules keys(KEY);
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
    CSchedules keys(KEY);
    Compare(
        direction == 0 ? "CBC, encrypt 8 KiB" : "CBC, decrypt 8 KiB",
        [&](unsigned char* pOut) {
            unsigned char iv[8] = {};
            doCryptEx(schedule, iv, data.data(), pOut, data.size(), direction);
        },
        [&](unsigned char* pOut) {
            ReferenceCbc(keys, data.data(), pOut, data.size(),
                         direction == 0 ? DES_ENCRYPT : DES_DECRYPT);
        },
        data.size());
}

} // namespace

int main()
{
    Bytes data(8192);
    std::generate(data.begin(), data.end(), [] { return static_cast<unsigned char>(std::rand()); });

    std::printf("%-36s %13s %13s %7s\n", "", "ours", "libcrypto", "ratio");
    CompareChaining(data, 0);
    CompareChaining(data, 1);
    Compare(
        "key schedule and 16 bytes",
        [&](unsigned char* pOut) {
            std::memcpy(pOut, data.data(), 16);
            doencrypt(KEY, pOut, 16, 0);
        },
        [&](unsigned char* pOut) {
            CSchedules keys(KEY);
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
}
