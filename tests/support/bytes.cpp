// SPDX-License-Identifier: Apache-2.0

#include "tests/support/bytes.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>

namespace {

unsigned Nibble(char ch)
{
    static constexpr std::string_view DIGITS = "0123456789ABCDEFabcdef";
    const auto i = DIGITS.find(ch);
    if (i == std::string_view::npos) {
        std::fprintf(stderr, "'%c' is not a hex digit\n", ch);
        std::abort();
    }
    return static_cast<unsigned>(i < 16 ? i : i - 6);
}

} // namespace

Bytes FromHex(std::string_view hex)
{
    std::string digits;
    std::copy_if(hex.begin(), hex.end(), std::back_inserter(digits),
                 [](char ch) { return ch != ' '; });
    if (digits.size() % 2 != 0) {
        digits.push_back('?'); // refused by Nibble
    }
    Bytes bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        bytes.push_back(static_cast<std::uint8_t>(Nibble(digits[i]) << 4 | Nibble(digits[i + 1])));
    }
    return bytes;
}

std::string ToHex(const void* pb, std::size_t cb)
{
    std::string hex;
    char szByte[4];
    for (std::size_t i = 0; i < cb; ++i) {
        std::snprintf(szByte, sizeof szByte, i != 0 ? " %02X" : "%02X",
                      static_cast<const std::uint8_t*>(pb)[i]);
        hex += szByte;
    }
    return hex;
}

Bytes Object(std::uint8_t bTag, const Bytes& value)
{
    return Bytes{bTag, static_cast<std::uint8_t>(value.size())} + value;
}

Bytes Random(std::size_t cb)
{
    static std::mt19937 generator(20);
    Bytes bytes(cb);
    std::generate(bytes.begin(), bytes.end(),
                  [] { return static_cast<std::uint8_t>(generator()); });
    return bytes;
}
