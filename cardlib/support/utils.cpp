// SPDX-License-Identifier: Apache-2.0
//
// Checksum, BCD text, byte reversal, TLV walking and the locked pointer exchange.

#include "cardlib/utils.h"

#include "cardlib/support/tlv.h"
#include "cardlib/systovanmutex.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace {

constexpr unsigned int CRC_INITIAL = 0xFFFF;

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

} // namespace

unsigned int Crc16(const unsigned char* data, unsigned long size)
{
    const auto address = reinterpret_cast<std::uintptr_t>(data);
    if (data == nullptr || size == 0 || address + size < address) {
        return CRC_INITIAL;
    }
    unsigned int crc = CRC_INITIAL;
    for (const unsigned char* const end = data + size; data != end; ++data) {
        crc = ((crc << 8) ^ CRCtbl[(*data ^ (crc >> 8)) & 0xFF]) & 0xFFFF;
    }
    return crc;
}

void BCD2ASC(char* dest, const unsigned char* orig, unsigned long len)
{
    constexpr char DIGITS[] = "0123456789ABCDEF";
    if (dest == nullptr || orig == nullptr) {
        return;
    }
    for (unsigned long i = 0; i < len; ++i) {
        *dest++ = DIGITS[orig[i] >> 4];
        *dest++ = DIGITS[orig[i] & 0x0F];
    }
}

void MemInvert(unsigned char* pbBuffer, unsigned long dwSize)
{
    if (pbBuffer != nullptr) {
        std::reverse(pbBuffer, pbBuffer + dwSize);
    }
}

bool GetForceUseSecondDF()
{
    return false;
}

BOOL TLV_Validate(const unsigned char* pTlv, unsigned long ulTlvSize)
{
    return CTlv(pTlv, ulTlvSize).IsChain() ? 1 : 0;
}

BOOL TLV_Get(WORD wTag, unsigned char* pTlv, unsigned long ulTlvSize, unsigned char** pData,
             unsigned long* pulData)
{
    if (pData == nullptr || pulData == nullptr) {
        return 0;
    }
    const CTlv found = CTlv(pTlv, ulTlvSize).Find(wTag);
    *pData = found ? pTlv + (found.data() - pTlv) : nullptr;
    *pulData = found.size();
    return found ? 1 : 0;
}

void* InterlockedExchangePointer_portable(void** Target, void* Value)
{
    const CSysTovanLock lock(g_interlockedCriticalSection);
    *Target = Value;
    return *Target;
}
