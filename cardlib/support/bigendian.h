// SPDX-License-Identifier: Apache-2.0
//
// Numbers of 16 bits as cards write them, high byte first. Internal to the library.

#ifndef CARDLIB_SUPPORT_BIGENDIAN_H
#define CARDLIB_SUPPORT_BIGENDIAN_H

#include <cstdint>

constexpr std::uint16_t BigEndian(std::uint8_t bHigh, std::uint8_t bLow)
{
    return static_cast<std::uint16_t>(bHigh << 8 | bLow);
}
constexpr std::uint16_t BigEndian(const std::uint8_t* pb)
{
    return BigEndian(pb[0], pb[1]);
}
constexpr std::uint8_t High(std::uint16_t w)
{
    return static_cast<std::uint8_t>(w >> 8);
}
constexpr std::uint8_t Low(std::uint16_t w)
{
    return static_cast<std::uint8_t>(w);
}

#endif
