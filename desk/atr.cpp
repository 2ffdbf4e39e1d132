// SPDX-License-Identifier: Apache-2.0
//
// Cards of one kind differ in their interface characters from one batch to the next; what says what
// they are stands among the historical bytes.

#include "desk/atr.h"

#include "desk/sized.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace desk {

namespace {

constexpr std::uint8_t HAS_TA = 0x10, HAS_TB = 0x20, HAS_TC = 0x40, HAS_TD = 0x80;
constexpr std::int32_t CLOCK = 4'000'000;

// By the halves of TA1; 0 is reserved.
constexpr std::array<std::int32_t, 16> CLOCK_FACTORS = {372, 372, 558, 744,  1116, 1488, 1860, 0,
                                                        0,   512, 768, 1024, 1536, 2048, 0,    0};
constexpr std::array<std::int32_t, 16> RATE_FACTORS = {0,  1,  2, 4, 8, 16, 32, 64,
                                                       12, 20, 0, 0, 0, 0,  0,  0};

// Pre-issuing data of the historical bytes (ISO/IEC 7816-4): first the maker of the chip by the
// register of ISO/IEC 7816-6, then its own number for the type.
constexpr std::uint8_t CATEGORY_TLV = 0x00, PRE_ISSUING_DATA = 0x60, TAG_MASK = 0xF0;
constexpr std::array<const char*, 17> MAKERS = {"",
                                                "Motorola",
                                                "STMicroelectronics",
                                                "Hitachi",
                                                "NXP",
                                                "Infineon",
                                                "Cylink",
                                                "Texas Instruments",
                                                "Fujitsu",
                                                "Matsushita",
                                                "NEC",
                                                "Oki",
                                                "Toshiba",
                                                "Mitsubishi",
                                                "Samsung",
                                                "Hynix",
                                                "LG"};

// The two historical bytes of a CardOS M4 card; the second one counts its versions.
constexpr std::size_t CARDOS_BYTES = 2;
constexpr std::uint8_t CARDOS = 0xC8;

std::string_view Text(Bytes bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

bool Holds(Bytes bytes, std::string_view word)
{
    return Text(bytes).find(word) != std::string_view::npos;
}

/// The bytes of an answer, one after the other; 0 behind the end.
class CAtrBytes {
public:
    explicit CAtrBytes(Bytes atr) : m_rest(atr) {}
    std::uint8_t Next()
    {
        if (m_rest.empty()) {
            return 0;
        }
        const std::uint8_t b = m_rest.front();
        m_rest = m_rest.subspan(1);
        return b;
    }
    Bytes Rest(std::size_t cb) const { return m_rest.first(std::min(cb, m_rest.size())); }

private:
    Bytes m_rest;
};

} // namespace

SAtr ReadAtr(Bytes atr)
{
    CAtrBytes bytes(atr);
    SAtr read;
    bytes.Next(); // TS: the convention
    std::uint8_t bFlags = bytes.Next();
    const std::size_t cbHistorical = bFlags & 0x0F;
    bool bFirst = true;
    while ((bFlags & 0xF0) != 0) {
        const std::uint8_t bTa = (bFlags & HAS_TA) != 0 ? bytes.Next() : read.bTa1;
        read.bTa1 = bFirst ? bTa : read.bTa1;
        for (const std::uint8_t bHas : {HAS_TB, HAS_TC}) {
            if ((bFlags & bHas) != 0) {
                bytes.Next();
            }
        }
        bFlags = (bFlags & HAS_TD) != 0 ? bytes.Next() : 0;
        read.bT0 |= bFlags != 0 && (bFlags & 0x0F) == 0;
        read.bT1 |= (bFlags & 0x0F) == 1;
        bFirst = false;
    }
    read.bT0 |= !read.bT1; // without a word about protocols it is T=0
    read.historical = bytes.Rest(cbHistorical);
    return read;
}

pindesk_kind KindOf(Bytes atr)
{
    const Bytes historical = ReadAtr(atr).historical;
    if (Holds(historical, "CNS")) {
        return PINDESK_KIND_NATIONAL_SERVICES;
    }
    if (Holds(historical, "PINDESK")) {
        return PINDESK_KIND_VIRTUAL;
    }
    const bool bCardOs = historical.size() == CARDOS_BYTES && historical[0] == CARDOS;
    return bCardOs ? PINDESK_KIND_CARDOS_M4 : PINDESK_KIND_UNKNOWN;
}

std::string ChipOf(Bytes atr)
{
    const Bytes historical = ReadAtr(atr).historical;
    if (KindOf(atr) == PINDESK_KIND_CARDOS_M4) {
        return "Infineon";
    }
    const bool bSays = historical.size() > 3 && historical[0] == CATEGORY_TLV &&
                       (historical[1] & TAG_MASK) == PRE_ISSUING_DATA;
    if (!bSays || historical[2] >= MAKERS.size() || historical[2] == 0) {
        return {};
    }
    constexpr const char* DIGITS = "0123456789ABCDEF";
    return std::string(MAKERS[historical[2]]) + ", type " + DIGITS[historical[3] >> 4] +
           DIGITS[historical[3] & 0x0F];
}

void DescribeAtr(Bytes atr, pindesk_card& card)
{
    const SAtr read = ReadAtr(atr);
    card.speaks_t0 = read.bT0 ? 1 : 0;
    card.speaks_t1 = read.bT1 ? 1 : 0;
    card.clock_factor = CLOCK_FACTORS.at(read.bTa1 >> 4);
    card.rate_factor = RATE_FACTORS.at(read.bTa1 & 0x0F);
    card.bits_per_second =
        card.clock_factor == 0 ? 0 : CLOCK / card.clock_factor * card.rate_factor;
    const std::string strChip = ChipOf(atr);
    CopyText(card.chip, strChip.data(), strChip.size());
    std::string strHistorical(Text(read.historical));
    std::replace_if(
        strHistorical.begin(), strHistorical.end(), [](char c) { return c < ' ' || c > '~'; }, '.');
    CopyText(card.historical, strHistorical.data(), strHistorical.size());
}

} // namespace desk
