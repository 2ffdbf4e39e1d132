// SPDX-License-Identifier: Apache-2.0
//
// Zentaris34: identity, PINs and records.

#include "cardlib/scardzentaris34.h"

#include "cardlib/sessions/apdu.h"
#include "cardlib/sessions/boundcard.h"

namespace {

constexpr CK_BYTE CLASS_KEY = 0x20; // a key whose value may carry a two-byte header
constexpr CK_BYTE CLASS_ANY_KEY = 0x20 | 0x10;
constexpr CK_BYTE KEY_WITH_HEADER = 0x82;
constexpr CK_BYTE KEY_HEADER = 2;

} // namespace

CSCardZentaris34::CSCardZentaris34(SCARDCONTEXT hContext, char* readerName)
    : CSCardCardOSM4(hContext, readerName)
{
}

CSCardZentaris34::~CSCardZentaris34() = default;

const char* CSCardZentaris34::GetModelName()
{
    return "Mark&Seal 2048";
}

long CSCardZentaris34::GetFreeMemory(eMemoryType /*MemoryType*/, WORD& size)
{
    size = 0xFFFF;
    return 0;
}

long CSCardZentaris34::SwitchToAdminLifeCycle()
{
    return 0;
}

long CSCardZentaris34::RevertFromAdminLifeCycle()
{
    return 0;
}

long CSCardZentaris34::ChangeReferenceData(CK_BYTE bsoId, CK_BYTE bsoClass, const CK_BYTE* pNewData,
                                           CK_BYTE cbNewDataLen, const CK_BYTE* pOldData,
                                           CK_BYTE cbOldDataLen)
{
    if ((bsoClass & CLASS_KEY) != 0 && cbNewDataLen == KEY_WITH_HEADER && pNewData != nullptr) {
        pNewData += KEY_HEADER;
        cbNewDataLen -= KEY_HEADER;
    }
    const bool bOldGiven = pOldData != nullptr && cbOldDataLen != 0;
    if ((bsoClass & CLASS_ANY_KEY) != 0 && !bOldGiven) {
        return ChangeKeyData(bsoId, bsoClass, pNewData, cbNewDataLen);
    }
    return CSCardCardOSM4::ChangeReferenceData(bsoId, bsoClass, pNewData, cbNewDataLen, pOldData,
                                               cbOldDataLen);
}

long CSCardZentaris34::ChangeKeyData(CK_BYTE bsoId, CK_BYTE bsoClass, const CK_BYTE* pNewData,
                                     CK_BYTE cbNewDataLen)
{
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
    }
    if (bsoId == 0 || pNewData == nullptr || cbNewDataLen == 0) {
        return refusal::MISSING_ARGUMENT;
    }
    if (cbNewDataLen > CCommandApdu::MAX_DATA) {
        return eM4Error_invalid_args;
    }
    BringDFInLine();
    return SendForStatus(
        CCommandApdu(cla::ZT_KEY, ins::CHANGE_REFERENCE_DATA, bsoClass & 0x3F, bsoId)
            .Data(pNewData, cbNewDataLen));
}

long CSCardZentaris34::ReadRecordTLV(CK_BYTE tag, CK_BYTE_PTR pData, CK_BYTE_PTR pcbData)
{
    if (pData == nullptr || pcbData == nullptr) {
        return refusal::MISSING_ARGUMENT;
    }
    for (int i = 1; i <= 0xFF; ++i) {
        const auto nRecord = static_cast<CK_BYTE>(i);
        CK_BYTE tmpTag = 0;
        CK_BYTE tmpTagLen = 1;
        const long lResult = ReadRecordAbsolute(nRecord, &tmpTag, &tmpTagLen);
        if (lResult != 0) {
            return lResult;
        }
        if (tmpTag == tag) {
            return ReadRecordAbsolute(nRecord, pData, pcbData);
        }
    }
    return sw::RECORD_NOT_FOUND;
}
