// SPDX-License-Identifier: Apache-2.0
//
// Checksum, BCD text, byte reversal, TLV walking and the locked pointer exchange.

#include "cardlib/utils.h"

#include "cardlib/systovanmutex.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace {

constexpr unsigned int kCrcInitial = 0xFFFF;

constexpr std::array<std::uint32_t, 256> MakeCrcTable()
{
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t i = 0; i < table.size(); ++i) {
        std::uint32_t crc = i << 8;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc << 1) ^ (crc & 0x8000 ? 0x1021u : 0u);
        }
        table[i] = crc & 0xFFFF;
    }
    return table;
}

constexpr std::array<std::uint32_t, 256> CRCtbl = MakeCrcTable();

constinit CSysTovanCriticalSection g_interlockedCriticalSection;

/// The element that a walk over a chain of tag, length, value has come to.
template <class TByte> class CTlvCursor {
public:
    CTlvCursor(TByte* pTlv, unsigned long ulSize) : m_pTlv(pTlv), m_cbLeft(ulSize) {}

    bool AtEnd() const { return m_cbLeft == 0; }
    /// The length byte is there, and the value lacks one byte at most: cards that count so are in
    /// use.
    bool Valid() const { return m_cbLeft >= 2 && m_cbLeft >= Length() + 1; }
    /// The value ends inside the chain.
    bool Whole() const { return m_cbLeft >= Length() + 2; }
    unsigned char Tag() const { return m_pTlv[0]; }
    unsigned long Length() const { return m_pTlv[1]; }
    TByte* Value() const { return m_pTlv + 2; }
    void Next()
    {
        const unsigned long cbElement = std::min(Length() + 2, m_cbLeft);
        m_pTlv += cbElement;
        m_cbLeft -= cbElement;
    }

private:
    TByte* m_pTlv;
    unsigned long m_cbLeft;
};

} // namespace

unsigned int Crc16(const unsigned char* data, unsigned long size)
{
    const auto address = reinterpret_cast<std::uintptr_t>(data);
    if (!data || size == 0 || address + size < address) {
        return kCrcInitial;
    }
    unsigned int crc = kCrcInitial;
    for (const unsigned char* const end = data + size; data != end; ++data) {
        crc = ((crc << 8) ^ CRCtbl[(*data ^ (crc >> 8)) & 0xFF]) & 0xFFFF;
    }
    return crc;
}

void BCD2ASC(char* dest, const unsigned char* orig, unsigned long len)
{
    constexpr char digits[] = "0123456789ABCDEF";
    if (!dest || !orig) {
        return;
    }
    for (unsigned long i = 0; i < len; ++i) {
        *dest++ = digits[orig[i] >> 4];
        *dest++ = digits[orig[i] & 0x0F];
    }
}

void MemInvert(unsigned char* pbBuffer, unsigned long dwSize)
{
    if (pbBuffer) {
        std::reverse(pbBuffer, pbBuffer + dwSize);
    }
}

bool GetForceUseSecondDF()
{
    return false;
}

BOOL TLV_Validate(const unsigned char* pTlv, unsigned long ulTlvSize)
{
    if (!pTlv || ulTlvSize < 2) {
        return 0;
    }
    for (CTlvCursor element(pTlv, ulTlvSize); !element.AtEnd(); element.Next()) {
        if (!element.Valid()) {
            return 0;
        }
    }
    return 1;
}

BOOL TLV_Get(WORD wTag, unsigned char* pTlv, unsigned long ulTlvSize, unsigned char** pData,
             unsigned long* pulData)
{
    if (!pData || !pulData) {
        return 0;
    }
    *pData = nullptr;
    *pulData = 0;
    if (!pTlv) {
        return 0;
    }
    for (CTlvCursor element(pTlv, ulTlvSize); !element.AtEnd(); element.Next()) {
        if (!element.Valid()) {
            return 0;
        }
        if (element.Tag() != wTag) {
            continue;
        }
        if (!element.Whole()) {
            return 0;
        }
        *pData = element.Value();
        *pulData = element.Length();
        return 1;
    }
    return 0;
}

void* InterlockedExchangePointer_portable(void** Target, void* Value)
{
    const CSysTovanLock lock(g_interlockedCriticalSection);
    *Target = Value;
    return *Target;
}
