// SPDX-License-Identifier: Apache-2.0
//
// Byte strings as tests write and read them.

#ifndef TESTS_SUPPORT_BYTES_H
#define TESTS_SUPPORT_BYTES_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

/// "3B 8F 80" (spaces anywhere between bytes) as bytes. Aborts the program on anything else.
Bytes FromHex(std::string_view hex);

/// Bytes as "3B 8F 80".
std::string ToHex(const void* pb, std::size_t cb);
inline std::string ToHex(const Bytes& bytes)
{
    return ToHex(bytes.data(), bytes.size());
}

inline Bytes operator+(Bytes left, const Bytes& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

/// A data object of at most 255 bytes.
Bytes Object(std::uint8_t bTag, const Bytes& value);

/// cb bytes; the sequence is the same in each run of a program.
Bytes Random(std::size_t cb);

#endif
