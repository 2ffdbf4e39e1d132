// SPDX-License-Identifier: Apache-2.0
//
// The TLV bodies of the security-object descriptors, from tables of fields in the card's order.

#include "cardlib/scardcardosm4_descriptors.h"

#include "cardlib/sessions/tlvbody.h"

#include <cstring>
#include <iterator>

using namespace descriptor;

namespace {

constexpr CK_BYTE ACTIVATED = 0x05; // life cycle status (ISO/IEC 7816-4)

using BsoByte = CK_BYTE _M4_BSO_info::*;
constexpr BsoByte BSO_IDENTIFIER[] = {&_M4_BSO_info::ObjectClass, &_M4_BSO_info::ObjectId};
constexpr BsoByte BSO_PARAMETERS[] = {
    &_M4_BSO_info::Options,     &_M4_BSO_info::Flags,    &_M4_BSO_info::AlgoId,
    &_M4_BSO_info::ErrCnt,      &_M4_BSO_info::UseCount, &_M4_BSO_info::Dek,
    &_M4_BSO_info::Ara_Counter, &_M4_BSO_info::MinLen,
};
constexpr BsoByte BSO_ACCESS[] = {
    &_M4_BSO_info::AC_USE,    &_M4_BSO_info::AC_CHANGE,  &_M4_BSO_info::AC_UNBLOCK,
    &_M4_BSO_info::AC_rfu4,   &_M4_BSO_info::AC_rfu5,    &_M4_BSO_info::AC_rfu6,
    &_M4_BSO_info::AC_GENKEY, &_M4_BSO_info::AC_SIGNDEC,
};
constexpr BsoByte BSO_SM[] = {
    &_M4_BSO_info::SM_ENC_USE_IN,  &_M4_BSO_info::SM_SIG_USE_IN,  &_M4_BSO_info::SM_ENC_CHANGE,
    &_M4_BSO_info::SM_SIG_CHANGE,  &_M4_BSO_info::SM_ENC_UNBLOCK, &_M4_BSO_info::SM_SIG_UNBLOCK,
    &_M4_BSO_info::SM_rfu7,        &_M4_BSO_info::SM_rfu8,        &_M4_BSO_info::SM_rfu9,
    &_M4_BSO_info::SM_rfu10,       &_M4_BSO_info::SM_rfu11,       &_M4_BSO_info::SM_rfu12,
    &_M4_BSO_info::SM_rfu13,       &_M4_BSO_info::SM_rfu14,       &_M4_BSO_info::SM_ENC_USE_OUT,
    &_M4_BSO_info::SM_SIG_USE_OUT,
};

using Zt34Byte = CK_BYTE _ZT34_BSO_info::*;
constexpr Zt34Byte ZT34_ACCESS[] = {
    &_ZT34_BSO_info::AC_USE,    &_ZT34_BSO_info::AC_CHANGE,  &_ZT34_BSO_info::AC_UNBLOCK,
    &_ZT34_BSO_info::AC_rfu4,   &_ZT34_BSO_info::AC_rfu5,    &_ZT34_BSO_info::AC_rfu6,
    &_ZT34_BSO_info::AC_GENKEY, &_ZT34_BSO_info::AC_SIGNDEC, &_ZT34_BSO_info::AC_9,
    &_ZT34_BSO_info::AC_10,
};

template <class TInfo, class TField, std::size_t N>
long WriteAdmin(const TInfo& info, const TField (&access)[N], CK_BYTE* pTlvData,
                CK_ULONG* pulTlvDataSize, CK_BBOOL bUseSM)
{
    // Room for both forms is asked for, on purpose: callers size one buffer for either.
    constexpr CK_ULONG NEEDED = 3UL * 2 + std::size(BSO_IDENTIFIER) + N + std::size(BSO_SM);
    if (const long lResult = CheckRoom(pTlvData, pulTlvDataSize, NEEDED)) {
        return lResult;
    }
    CTlvBody body(pTlvData);
    body.Object(field::IDENTIFIER, info, BSO_IDENTIFIER).Object(field::ACCESS, info, access);
    if (bUseSM) {
        body.Object(field::SECURE_MESSAGING, info, BSO_SM);
    }
    *pulTlvDataSize = body.Size();
    return 0;
}

} // namespace

_M4_BSO_info::_M4_BSO_info()
{
    Reset();
}

_M4_BSO_info::~_M4_BSO_info()
{
    Reset();
}

void _M4_BSO_info::SetDefaultConditions(CK_BYTE bValue)
{
    SetAll(*this, BSO_ACCESS, bValue);
    SetAll(*this, BSO_SM, bValue);
}

long _M4_BSO_info::ParseTLV(const CK_BYTE* /*pTlvData*/, CK_ULONG /*ulTlvDataSize*/)
{
    return -1;
}

long _M4_BSO_info::GetTLV(CK_BYTE* pTlvData, CK_ULONG* pulTlvDataSize)
{
    if (const long lResult = CheckRoom(pTlvData, pulTlvDataSize, 44u + ObjectDataLen)) {
        return lResult;
    }
    if (ObjectDataLen > sizeof pObjectData) {
        return -1;
    }
    CTlvBody body(pTlvData);
    body.Object(field::IDENTIFIER, *this, BSO_IDENTIFIER)
        .Object(field::PARAMETERS, *this, BSO_PARAMETERS)
        .Object(field::ACCESS, *this, BSO_ACCESS)
        .Object(field::SECURE_MESSAGING, *this, BSO_SM)
        .Header(field::VALUE, ObjectDataLen)
        .Bytes(pObjectData, ObjectDataLen);
    *pulTlvDataSize = body.Size();
    return 0;
}

long _M4_BSO_info::GetTLV_Admin(CK_BYTE* pTlvData, CK_ULONG* pulTlvDataSize, CK_BBOOL bUseSM)
{
    return WriteAdmin(*this, BSO_ACCESS, pTlvData, pulTlvDataSize, bUseSM);
}

CK_ULONG _M4_BSO_info::GetInternalStructSize()
{
    return sizeof *this;
}

void _M4_BSO_info::Reset()
{
    SetAll(*this, BSO_IDENTIFIER, 0);
    SetAll(*this, BSO_PARAMETERS, 0);
    SetDefaultConditions(0);
    explicit_bzero(pObjectData, sizeof pObjectData);
    ObjectDataLen = 0;
}

_ZT34_BSO_info::_ZT34_BSO_info(const _M4_BSO_info& source, CK_BYTE bAC_9, CK_BYTE bAC_10)
    : _M4_BSO_info(source), AC_9(bAC_9), AC_10(bAC_10)
{
}

long _ZT34_BSO_info::GetTLV(CK_BYTE* pTlvData, CK_ULONG* pulTlvDataSize)
{
    const bool bPinLike = (ObjectClass & BSO_CLASS_uuu) == 0;
    // Two bytes less than is written, on purpose: the base's size, which callers know.
    const CK_ULONG ulChecked = 44u + ObjectDataLen + (bPinLike ? 3u : 0u);
    if (const long lResult = CheckRoom(pTlvData, pulTlvDataSize, ulChecked)) {
        return lResult;
    }
    if (ObjectDataLen > sizeof pObjectData) {
        return -1;
    }
    CTlvBody body(pTlvData);
    body.Object(field::IDENTIFIER, *this, BSO_IDENTIFIER)
        .Object(field::PARAMETERS, *this, BSO_PARAMETERS)
        .Object(field::ACCESS, *this, ZT34_ACCESS)
        .Object(field::SECURE_MESSAGING, *this, BSO_SM)
        .Header(field::VALUE, ObjectDataLen)
        .Bytes(pObjectData, ObjectDataLen);
    if (bPinLike) {
        body.Header(field::LIFE_CYCLE, 1).Byte(ACTIVATED);
    }
    *pulTlvDataSize = body.Size();
    return 0;
}

long _ZT34_BSO_info::GetTLV_Admin(CK_BYTE* pTlvData, CK_ULONG* pulTlvDataSize, CK_BBOOL bUseSM)
{
    return WriteAdmin(*this, ZT34_ACCESS, pTlvData, pulTlvDataSize, bUseSM);
}

CK_ULONG _ZT34_BSO_info::GetInternalStructSize()
{
    return sizeof *this;
}
