// SPDX-License-Identifier: Apache-2.0
//
// Interface bytes, historical bytes, check byte.
#include "model/atr.h"

#include <bit>
#include <functional>
#include <numeric>
#include <stdexcept>

namespace vcard {

namespace {

constexpr std::uint8_t DIRECT = 0x3B, INVERSE = 0x3F, T1 = 0x01;
constexpr std::uint8_t TD_FOLLOWS = 0x80, LOW_HALF = 0x0F, HIGH_HALF = 0xF0;

std::uint8_t CheckByte(ByteView bytes)
{
    return std::accumulate(bytes.begin(), bytes.end(), std::uint8_t{0},
                           std::bit_xor<std::uint8_t>{});
}

/// The byte at this place. Throws std::invalid_argument behind the end.
std::uint8_t At(ByteView atr, std::size_t i)
{
    if (i >= atr.size()) {
        throw std::invalid_argument("expected a whole answer to reset");
    }
    return atr[i];
}

struct SStructure {
    std::size_t cbWhole;
    bool bT1First, bOnlyT0;
};

/// Follows the interface bytes: each group's high half tells which bytes it has, TD comes last and
/// starts the next group.
SStructure StructureOf(ByteView atr)
{
    constexpr std::size_t TS_AND_T0 = 2;
    SStructure structure{TS_AND_T0, false, true};
    std::uint8_t bGroup = At(atr, 1);
    bool bFirst = true;
    while ((bGroup & HIGH_HALF) != 0) {
        structure.cbWhole +=
            static_cast<std::size_t>(std::popcount<std::uint8_t>(bGroup & HIGH_HALF));
        if ((bGroup & TD_FOLLOWS) == 0) {
            break;
        }
        bGroup = At(atr, structure.cbWhole - 1);
        const std::uint8_t bProtocol = bGroup & LOW_HALF;
        structure.bT1First |= bFirst && bProtocol == T1;
        structure.bOnlyT0 &= bProtocol == 0;
        bFirst = false;
    }
    structure.cbWhole += (At(atr, 1) & LOW_HALF) + (structure.bOnlyT0 ? 0U : 1U);
    return structure;
}

} // namespace

Bytes MakeAtr(const Bytes& historical, bool bT1)
{
    Bytes atr = {DIRECT, Low(historical.size())};
    if (bT1) {
        atr[1] |= TD_FOLLOWS;
        atr.push_back(T1);
    }
    Append(atr, historical);
    if (bT1) { // T=0 alone has no check byte
        atr.push_back(CheckByte(ByteView(atr).subspan(1)));
    }
    return atr;
}

void CheckAtr(ByteView atr)
{
    const std::uint8_t bConvention = At(atr, 0);
    const SStructure structure = StructureOf(atr);
    if ((bConvention != DIRECT && bConvention != INVERSE) || atr.size() != structure.cbWhole) {
        throw std::invalid_argument("expected a whole answer to reset");
    }
    if (!structure.bOnlyT0 && CheckByte(atr.subspan(1)) != 0) {
        throw std::invalid_argument("expected an answer to reset with the right check byte");
    }
}

bool OffersT1(ByteView atr)
{
    return StructureOf(atr).bT1First;
}

} // namespace vcard
