// SPDX-License-Identifier: Apache-2.0
//
// The TLV bodies of the file descriptors. Each group of condition bytes is one table of fields, in
// the order in which the card takes them.

#include "cardlib/scardcardosm4_descriptors.h"

#include "cardlib/sessions/tlvbody.h"

#include <iterator>

using namespace descriptor;

namespace {

constexpr CK_BYTE FORBIDDEN = 0xFF; // a condition that nobody meets

using FileByte = CK_BYTE _M4_FileInfo_common::*;
constexpr FileByte FILE_ACCESS[] = {
    &_M4_FileInfo_common::AC_READ,     &_M4_FileInfo_common::AC_UPDATE,
    &_M4_FileInfo_common::AC_APPEND,   &_M4_FileInfo_common::AC_DEACTIVATE,
    &_M4_FileInfo_common::AC_ACTIVATE, &_M4_FileInfo_common::AC_DELETE,
    &_M4_FileInfo_common::AC_ADMIN,    &_M4_FileInfo_common::AC_INCREASE,
    &_M4_FileInfo_common::AC_DECREASE,
};

using FileSmByte = CK_BYTE _M4_FileInfo_SM::*;
constexpr FileSmByte FILE_SM[] = {
    &_M4_FileInfo_SM::SM_ENC_READ_OUT,
    &_M4_FileInfo_SM::SM_SIG_READ_OUT,
    &_M4_FileInfo_SM::SM_ENC_UPDATE,
    &_M4_FileInfo_SM::SM_SIG_UPDATE,
    &_M4_FileInfo_SM::SM_ENC_APPEND,
    &_M4_FileInfo_SM::SM_SIG_APPEND,
    &_M4_FileInfo_SM::SM_rfu7,
    &_M4_FileInfo_SM::SM_rfu8,
    &_M4_FileInfo_SM::SM_rfu9,
    &_M4_FileInfo_SM::SM_rfu10,
    &_M4_FileInfo_SM::SM_ENC_DELETE,
    &_M4_FileInfo_SM::SM_SIG_DELETE,
    &_M4_FileInfo_SM::SM_ENC_ADMIN,
    &_M4_FileInfo_SM::SM_SIG_ADMIN,
    &_M4_FileInfo_SM::SM_ENC_INCREASE_IN,
    &_M4_FileInfo_SM::SM_SIG_INCREASE_IN,
    &_M4_FileInfo_SM::SM_ENC_DECREASE_IN,
    &_M4_FileInfo_SM::SM_SIG_DECREASE_IN,
    &_M4_FileInfo_SM::SM_ENC_INCREASE_OUT,
    &_M4_FileInfo_SM::SM_SIG_INCREASE_OUT,
    &_M4_FileInfo_SM::SM_ENC_DECREASE_OUT,
    &_M4_FileInfo_SM::SM_SIG_DECREASE_OUT,
    &_M4_FileInfo_SM::SM_ENC_READ_IN,
    &_M4_FileInfo_SM::SM_SIG_READ_IN,
};

} // namespace

_M4_FileInfo_common::_M4_FileInfo_common()
{
    SetAll(*this, FILE_ACCESS, FORBIDDEN);
}

long _M4_FileInfo_common::ParseTLV(const CK_BYTE* /*pTlvData*/, CK_ULONG /*ulTlvDataSize*/)
{
    return -1;
}

long _M4_FileInfo_common::GetTLV(CK_BYTE* pTlvData, CK_ULONG* pulTlvDataSize)
{
    constexpr CK_ULONG BEFORE_ACCESS = 18;
    CK_ULONG ulAccess = std::size(FILE_ACCESS) + 2 + m_bAdditionalACPaddingFF;
    if (const long lResult = CheckRoom(pTlvData, pulTlvDataSize, BEFORE_ACCESS + ulAccess)) {
        return lResult;
    }
    CTlvBody body(pTlvData);
    body.Header(field::SIZE, 2).Word(size);
    body.Header(field::TYPE, 3).Byte(type).Byte(0).Byte(recordSize);
    body.Header(field::IDENTIFIER, 2).Word(fid);
    body.Header(field::PARAMETERS, 3).Byte(flags).Word(DF_Body_size);
    *pulTlvDataSize = body.Size() + ulAccess;
    return GetTLV_Admin(body.End(), &ulAccess, 0);
}

long _M4_FileInfo_common::GetTLV_Admin(CK_BYTE* pTlvData, CK_ULONG* pulTlvDataSize,
                                       CK_BBOOL /*bUseSM*/)
{
    const CK_ULONG ulLength = std::size(FILE_ACCESS) + m_bAdditionalACPaddingFF;
    if (const long lResult = CheckRoom(pTlvData, pulTlvDataSize, ulLength + 2)) {
        return lResult;
    }
    CTlvBody body(pTlvData);
    body.Header(field::ACCESS, ulLength)
        .Fields(*this, FILE_ACCESS)
        .Repeat(0xFF, m_bAdditionalACPaddingFF);
    *pulTlvDataSize = body.Size();
    return 0;
}

CK_ULONG _M4_FileInfo_common::GetInternalStructSize()
{
    return sizeof *this;
}

_M4_FileInfo_common* _M4_FileInfo_common::Clone()
{
    return new _M4_FileInfo_common(*this);
}

void _M4_FileInfo_common::SetDefaultAC(CK_BYTE bValue)
{
    SetAll(*this, FILE_ACCESS, bValue);
}

void _M4_FileInfo_common::Reset()
{
    SetDefaultAC(FORBIDDEN);
    structSize = sizeof(_M4_FileInfo_common);
    size = 0;
    type = eBinary;
    flags = 0;
    DF_Body_size = 0;
    fid = 0;
    recordSize = 0;
    m_bAdditionalACPaddingFF = 0;
}

bool _M4_FileInfo_common::isDF()
{
    return type == eDF;
}

void _M4_FileInfo_common::SetAdditionalACPaddingFF(CK_BYTE bCount)
{
    m_bAdditionalACPaddingFF = bCount;
}

_M4_FileInfo_SM::_M4_FileInfo_SM()
{
    SetAll(*this, FILE_SM, FORBIDDEN);
}

long _M4_FileInfo_SM::GetTLV(CK_BYTE* pTlvData, CK_ULONG* pulTlvDataSize)
{
    constexpr CK_ULONG SM_ENTRY = std::size(FILE_SM) + 2;
    CK_ULONG ulCommon = 29u + m_bAdditionalACPaddingFF;
    if (const long lResult = CheckRoom(pTlvData, pulTlvDataSize, ulCommon + SM_ENTRY)) {
        return lResult;
    }
    _M4_FileInfo_common::GetTLV(pTlvData, &ulCommon);
    CTlvBody(pTlvData + ulCommon).Object(field::SECURE_MESSAGING, *this, FILE_SM);
    *pulTlvDataSize = ulCommon + SM_ENTRY;
    return 0;
}

long _M4_FileInfo_SM::GetTLV_Admin(CK_BYTE* pTlvData, CK_ULONG* pulTlvDataSize, CK_BBOOL bUseSM)
{
    const CK_ULONG ulSm = bUseSM ? std::size(FILE_SM) + 2 : 0;
    CK_ULONG ulAccess = std::size(FILE_ACCESS) + 2 + m_bAdditionalACPaddingFF;
    if (const long lResult = CheckRoom(pTlvData, pulTlvDataSize, ulAccess + ulSm)) {
        return lResult;
    }
    _M4_FileInfo_common::GetTLV_Admin(pTlvData, &ulAccess, 0);
    if (bUseSM) {
        CTlvBody(pTlvData + ulAccess).Object(field::SECURE_MESSAGING, *this, FILE_SM);
    }
    *pulTlvDataSize = ulAccess + ulSm;
    return 0;
}

CK_ULONG _M4_FileInfo_SM::GetInternalStructSize()
{
    return sizeof *this;
}

_M4_FileInfo_SM* _M4_FileInfo_SM::Clone()
{
    return new _M4_FileInfo_SM(*this);
}

void _M4_FileInfo_SM::Reset()
{
    _M4_FileInfo_common::Reset(); // structSize stays the common descriptor's, on purpose
    SetDefaultSM(FORBIDDEN);
}

void _M4_FileInfo_SM::SetDefaultSM(CK_BYTE bValue)
{
    SetAll(*this, FILE_SM, bValue);
}
