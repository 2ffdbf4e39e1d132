// SPDX-License-Identifier: Apache-2.0

#include "columns.h"

#include <algorithm>
#include <sstream>

namespace tool {

namespace {
constexpr std::size_t WIDTH = 79;
}

std::size_t Columns(const std::string& text)
{
    const auto begins = [](unsigned char c) { return (c & 0xC0U) != 0x80U; };
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), begins));
}

std::string Padded(std::string text, std::size_t columns)
{
    text.append(columns - std::min(columns, Columns(text)), ' ');
    return text;
}

std::string Wrapped(const std::string& text, std::size_t indent)
{
    std::istringstream words(text);
    std::string lines;
    std::size_t column = indent;
    for (std::string word; words >> word; column += Columns(word)) {
        if (column == indent) {
            lines += word;
        } else if (column + 1 + Columns(word) <= WIDTH) {
            lines += " " + word;
            ++column;
        } else {
            lines += "\n" + std::string(indent, ' ') + word;
            column = indent;
        }
    }
    return lines + "\n";
}

} // namespace tool
