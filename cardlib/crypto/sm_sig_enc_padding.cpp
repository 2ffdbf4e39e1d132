// SPDX-License-Identifier: Apache-2.0
//
// The two paddings, the retail MAC, and Triple-DES over padded data.

#include "cardlib/sm_sig_enc.h"

#include "cardlib/crypt.h"
#include "cardlib/crypto/descore.h"
#include "cardlib/crypto/padding.h"
#include "cardlib/support/secret.h"

#include <algorithm>
#include <utility>

using descore::BLOCK;

namespace {

constexpr unsigned long NO_PADDING = 0xFFFFFFFF;

/// Copies the data to a new zeroed buffer of cbPadded bytes. Empty if cbPadded has wrapped around.
CWipedArray CopyPadded(const unsigned char* pData, unsigned long cbData, unsigned long cbPadded)
{
    if (cbPadded < cbData) {
        return {};
    }
    CWipedArray padded = CWipedArray::Zeroed(cbPadded);
    if (padded && pData != nullptr) {
        std::copy_n(pData, cbData, padded.data());
    }
    return padded;
}

unsigned char* HandBack(CWipedArray buffer, unsigned long* pcbData)
{
    if (buffer) {
        *pcbData = buffer.size();
    }
    return buffer.Release();
}

CWipedArray IsoPadded(const unsigned char* pData, unsigned long cbData)
{
    CWipedArray padded = CopyPadded(pData, cbData, cbData - cbData % BLOCK + BLOCK);
    if (padded) {
        padded.data()[cbData] = PAD_START;
    }
    return padded;
}

} // namespace

unsigned char* IsoPad(const unsigned char* pData, unsigned long* pcbData)
{
    return pcbData == nullptr ? nullptr : HandBack(IsoPadded(pData, *pcbData), pcbData);
}

unsigned char* AnsiPad(const unsigned char* pData, unsigned long* pcbData)
{
    if (pcbData == nullptr) {
        return nullptr;
    }
    return HandBack(CopyPadded(pData, *pcbData, (*pcbData + BLOCK - 1) / BLOCK * BLOCK), pcbData);
}

unsigned long IsoPadded_GetUnpaddedLen(const unsigned char* pData, unsigned long cbData)
{
    if (pData == nullptr || cbData % BLOCK != 0) {
        return NO_PADDING;
    }
    for (unsigned long n = cbData; n > 0; --n) {
        if (pData[n - 1] == PAD_START) { // what follows may be anything: cards differ here
            return n - 1;
        }
    }
    return NO_PADDING;
}

unsigned char* DES3_IsoPadded(const unsigned char* Des3_Key, const unsigned char* pData,
                              unsigned long* pcbData)
{
    if (Des3_Key == nullptr || pcbData == nullptr) {
        return nullptr;
    }
    CWipedArray padded = IsoPadded(pData, *pcbData);
    doencrypt(Des3_Key, padded.data(), padded.size(), 0);
    return HandBack(std::move(padded), pcbData);
}

unsigned char* UNDES3_IsoPadded(const unsigned char* Des3_Key, const unsigned char* pData,
                                unsigned long* pcbData)
{
    if (Des3_Key == nullptr || pcbData == nullptr) {
        return nullptr;
    }
    CWipedArray plain = CopyPadded(pData, *pcbData, *pcbData);
    if (!plain) {
        return nullptr;
    }
    doencrypt(Des3_Key, plain.data(), plain.size(), 1);
    *pcbData = IsoPadded_GetUnpaddedLen(plain.data(), plain.size());
    return *pcbData == NO_PADDING ? nullptr : plain.Release();
}

void MAC3_AnsiPadded(const unsigned char* Des3_Key, const unsigned char* pData,
                     unsigned long cbData, unsigned char* Mac3)
{
    if (Des3_Key == nullptr || pData == nullptr || cbData == 0 || Mac3 == nullptr) {
        return;
    }
    const descore::SDesSchedule chaining(Des3_Key, 0);
    const descore::SDesSchedule back(Des3_Key + 8, 1);
    const descore::SDesSchedule last(Des3_Key + 16, 0);

    descore::SState mac;
    const auto chain = [&](const unsigned char* pBlock) {
        mac ^= descore::Load(pBlock);
        descore::Crypt(chaining.m_aKeys, descore::DES_ROUNDS, mac);
    };
    for (; cbData >= BLOCK; cbData -= BLOCK, pData += BLOCK) {
        chain(pData);
    }
    if (CSecret<BLOCK> rest; cbData > 0 && rest.Assign(pData, cbData, 0)) {
        chain(rest.data());
    }
    descore::Crypt(back.m_aKeys, descore::DES_ROUNDS, mac);
    descore::Crypt(last.m_aKeys, descore::DES_ROUNDS, mac);
    descore::Store(mac, Mac3);
}
