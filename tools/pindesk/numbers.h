// SPDX-License-Identifier: Apache-2.0
//
// Numbers in words of the command line.

#ifndef TOOLS_PINDESK_NUMBERS_H
#define TOOLS_PINDESK_NUMBERS_H

#include <charconv>
#include <string_view>

namespace tool {

constexpr int DECIMAL = 10, HEXADECIMAL = 16;

/// False when the text is anything but one number that fits.
template <typename T> bool ToNumber(std::string_view text, int base, T& number)
{
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, base);
    return error == std::errc() && stop == end;
}

} // namespace tool

#endif
