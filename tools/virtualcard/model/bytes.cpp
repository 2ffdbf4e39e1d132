// SPDX-License-Identifier: Apache-2.0
//
// Joining byte strings, and their hexadecimal text.
#include "model/bytes.h"

#include <stdexcept>

namespace vcard {

namespace {

constexpr char DIGITS[] = "0123456789ABCDEF";

std::uint8_t Nibble(char c)
{
    if (c >= '0' && c <= '9') {
        return static_cast<std::uint8_t>(c - '0');
    }
    const int lower = c | 0x20;
    if (lower >= 'a' && lower <= 'f') {
        return static_cast<std::uint8_t>(lower - 'a' + 10);
    }
    throw std::invalid_argument("not a hexadecimal digit");
}

} // namespace

void Append(Bytes& to, ByteView what)
{
    to.insert(to.end(), what.begin(), what.end());
}

std::string ToHex(ByteView bytes)
{
    std::string strHex;
    for (const std::uint8_t b : bytes) {
        strHex += DIGITS[b >> 4];
        strHex += DIGITS[b & 0x0F];
    }
    return strHex;
}

Bytes FromHex(const std::string& strHex)
{
    std::string strDigits;
    for (const char c : strHex) {
        if (c != ' ') {
            strDigits += c;
        }
    }
    if (strDigits.size() % 2 != 0) {
        throw std::invalid_argument("an odd number of hexadecimal digits");
    }

    Bytes bytes;
    for (std::size_t i = 0; i < strDigits.size(); i += 2) {
        bytes.push_back(
            static_cast<std::uint8_t>(Nibble(strDigits[i]) << 4 | Nibble(strDigits[i + 1])));
    }
    return bytes;
}

} // namespace vcard
