// SPDX-License-Identifier: Apache-2.0
//
// Byte strings: the two types the model speaks, big-endian numbers and hexadecimal text.
#ifndef TOOLS_VIRTUALCARD_MODEL_BYTES_H
#define TOOLS_VIRTUALCARD_MODEL_BYTES_H

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace vcard {

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

inline Bytes Copy(ByteView view)
{
    return {view.begin(), view.end()};
}

void Append(Bytes& to, ByteView what);

/// The bytes of a text, without a terminator.
inline Bytes Ascii(const std::string& str)
{
    return {str.begin(), str.end()};
}

/// Two bytes, high byte first, to a number and back.
inline std::uint16_t Word(std::uint8_t bHigh, std::uint8_t bLow)
{
    return static_cast<std::uint16_t>(bHigh << 8 | bLow);
}
inline std::uint8_t High(std::size_t w)
{
    return static_cast<std::uint8_t>(w >> 8);
}
inline std::uint8_t Low(std::size_t w)
{
    return static_cast<std::uint8_t>(w);
}

/// The bytes without the filler at their end.
inline Bytes StripTrailing(Bytes bytes, std::uint8_t bFiller)
{
    while (!bytes.empty() && bytes.back() == bFiller) {
        bytes.pop_back();
    }
    return bytes;
}

/// Upper-case hexadecimal digits, two a byte, nothing between them.
std::string ToHex(ByteView bytes);

/// The reverse; blanks between bytes are allowed. Throws std::invalid_argument on other text.
Bytes FromHex(const std::string& strHex);

} // namespace vcard

#endif
