// SPDX-License-Identifier: Apache-2.0
//
// Internal: how the descriptors write their TLV bodies.

#ifndef CARDLIB_SESSIONS_TLVBODY_H
#define CARDLIB_SESSIONS_TLVBODY_H

#include "cardlib/cktypes.h"

#include <algorithm>
#include <cstddef>

namespace descriptor {

namespace field { // of the data objects in a descriptor's body
constexpr CK_BYTE SIZE = 0x81, TYPE = 0x82, IDENTIFIER = 0x83, PARAMETERS = 0x85, ACCESS = 0x86,
                  LIFE_CYCLE = 0x8A, SECURE_MESSAGING = 0x8B, VALUE = 0x8F;
}

/// Writes a body into a buffer whose room was checked.
class CTlvBody {
public:
    explicit CTlvBody(CK_BYTE* pb) : m_pbStart(pb), m_pb(pb) {}

    CTlvBody& Byte(CK_BYTE b)
    {
        *m_pb++ = b;
        return *this;
    }
    CTlvBody& Word(WORD w)
    {
        return Byte(static_cast<CK_BYTE>(w >> 8)).Byte(static_cast<CK_BYTE>(w));
    }
    /// Tag and length; only the low byte of the length has room.
    CTlvBody& Header(CK_BYTE bTag, CK_ULONG ulLen)
    {
        return Byte(bTag).Byte(static_cast<CK_BYTE>(ulLen));
    }
    CTlvBody& Bytes(const CK_BYTE* pb, CK_ULONG cb)
    {
        m_pb = std::copy_n(pb, cb, m_pb);
        return *this;
    }
    CTlvBody& Repeat(CK_BYTE b, CK_ULONG ulCount)
    {
        m_pb = std::fill_n(m_pb, ulCount, b);
        return *this;
    }
    template <class TInfo, class TField, std::size_t N>
    CTlvBody& Fields(const TInfo& info, const TField (&fields)[N])
    {
        for (const TField field : fields) {
            Byte(info.*field);
        }
        return *this;
    }
    template <class TInfo, class TField, std::size_t N>
    CTlvBody& Object(CK_BYTE bTag, const TInfo& info, const TField (&fields)[N])
    {
        return Header(bTag, N).Fields(info, fields);
    }

    CK_BYTE* End() const { return m_pb; }
    CK_ULONG Size() const { return static_cast<CK_ULONG>(m_pb - m_pbStart); }

private:
    CK_BYTE* m_pbStart;
    CK_BYTE* m_pb;
};

/// \return 0 if ulNeeded bytes fit; else the result of the writer, with the needed size stored.
inline long CheckRoom(const CK_BYTE* pTlvData, CK_ULONG* pulTlvDataSize, CK_ULONG ulNeeded)
{
    if (pulTlvDataSize == nullptr) {
        return -1;
    }
    if (pTlvData != nullptr && *pulTlvDataSize >= ulNeeded) {
        return 0;
    }
    *pulTlvDataSize = ulNeeded;
    return 1;
}

/// Gives all fields of a table one value.
template <class TInfo, class TField, std::size_t N>
void SetAll(TInfo& info, const TField (&fields)[N], CK_BYTE bValue)
{
    for (const TField field : fields) {
        info.*field = bValue;
    }
}

} // namespace descriptor

#endif
