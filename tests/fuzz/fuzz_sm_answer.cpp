// SPDX-License-Identifier: Apache-2.0
//
// Opens arbitrary bytes as a card's protected answer, and deciphers them as padded data. So that
// the fuzzer gets past the checksum, the first byte may ask for the right one in the first 8E
// object. The same bytes also go the other way.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "cardlib/sm_sig_enc.h"
#include "cardlib/utils.h"

namespace {

constexpr unsigned char KEY[24] = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12,
                                   13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24};
constexpr unsigned char RANDOM[8] = {0xA0, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7};
constexpr std::uint8_t REPAIR_CHECKSUM = 0x01, WITHOUT_RANDOM = 0x02;

using Bytes = std::vector<std::uint8_t>;
using CBuffer = std::unique_ptr<unsigned char[]>;

void Require(bool bHolds)
{
    if (!bHolds) {
        std::abort();
    }
}

/// Reads a whole buffer, so that the sanitizer sees one that is shorter than it says.
void Touch(const unsigned char* pb, unsigned long cb)
{
    const volatile unsigned char* const pRead = pb;
    for (unsigned long n = 0; n < cb; ++n) {
        (void)pRead[n];
    }
}

/// Writes the checksum that the answer ought to have into its 8E object. False if there is none, or
/// no room in it.
bool RepairChecksum(Bytes& answer, const unsigned char* pRandom)
{
    unsigned char* pChecksum = nullptr;
    unsigned char* pObject = nullptr;
    unsigned long cbChecksum = 0;
    unsigned long cbObject = 0;
    if (TLV_Get(0x8E, answer.data(), answer.size(), &pChecksum, &cbChecksum) == 0 ||
        cbChecksum < 8) {
        return false;
    }
    Bytes covered(8);
    if (pRandom != nullptr) {
        std::copy_n(pRandom, 8, covered.begin());
    }
    covered.insert(covered.end(), {0x0C, 0xB0, 0x00, 0x00});
    if (TLV_Get(0x87, answer.data(), answer.size(), &pObject, &cbObject) != 0 ||
        TLV_Get(0x81, answer.data(), answer.size(), &pObject, &cbObject) != 0) {
        covered.insert(covered.end(), pObject - 2, pObject + cbObject);
        covered.resize(12 + (cbObject + 2 + 7) / 8 * 8);
    }
    MAC3_AnsiPadded(KEY, covered.data(), covered.size(), pChecksum);
    return true;
}

void Open(const Bytes& answer, const unsigned char* pRandom, bool bRepaired)
{
    unsigned long cb = 0;
    BOOL bVerified = 0;
    BOOL bDecoded = 0;
    const CBuffer plain(SMxC_VRF_DEC(KEY, KEY, pRandom, 0x00, 0xB0, 0x00, 0x00, answer.data(),
                                     answer.size(), cb, bVerified, bDecoded));
    Require(bVerified != 0 || bDecoded == 0 || !bRepaired);
    if (plain != nullptr) {
        Require(bVerified != 0 && bDecoded != 0 && cb <= answer.size());
        Touch(plain.get(), cb);
    }
}

void Decipher(const Bytes& answer)
{
    unsigned long cb = answer.size();
    const CBuffer plain(UNDES3_IsoPadded(KEY, answer.data(), &cb));
    Require(plain != nullptr ? cb < answer.size() : cb == 0xFFFFFFFF);
    Touch(plain.get(), plain != nullptr ? cb : 0);
}

/// The same bytes as what a host pads, signs and enciphers, and gets back.
void MakeAndOpen(const Bytes& data, const unsigned char* pRandom)
{
    unsigned char mac[8];
    unsigned long cb = data.size();
    const CBuffer cipher(DES3_IsoPadded(KEY, data.data(), &cb));
    const CBuffer plain(UNDES3_IsoPadded(KEY, cipher.get(), &cb));
    Require(cb == data.size() && std::equal(data.begin(), data.end(), plain.get()));
    for (auto* const pad : {IsoPad, AnsiPad}) {
        const CBuffer padded(pad(data.data(), &(cb = data.size())));
        Require(cb % 8 == 0);
        Touch(padded.get(), cb);
    }
    const CBuffer sign(SMx4_SIG(KEY, 0, 0xB0, 0, 0, data.data(), &(cb = data.size()), mac));
    Touch(sign.get(), sign != nullptr ? cb : 0);
    const CBuffer both(SMx4_SIG_ENC(KEY, 0, 0xB0, 0, 0, data.data(), &(cb = data.size())));
    Touch(both.get(), both != nullptr ? cb : 0);
    const CBuffer sealed(
        SMxC_ENC_SIG(KEY, KEY, pRandom, 0, 0xB0, 0, 0, data.data(), data.size(), 0, &cb));
    Touch(sealed.get(), cb);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t cbData)
{
    if (cbData == 0) {
        return 0;
    }
    Bytes answer(pData + 1, pData + cbData);
    const unsigned char* const pRandom = (pData[0] & WITHOUT_RANDOM) != 0 ? nullptr : RANDOM;
    const bool bRepaired = (pData[0] & REPAIR_CHECKSUM) != 0 && RepairChecksum(answer, pRandom);
    Open(answer, pRandom, bRepaired);
    Decipher(answer);
    MakeAndOpen(answer, pRandom);
    return 0;
}
