// SPDX-License-Identifier: Apache-2.0
//
// DES key schedules and the single-block functions, over tables generated from those of FIPS 46-3.

#include "cardlib/des3port.h"

#include "cardlib/crypto/descore.h"
#include "cardlib/crypto/destables.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace {

using fips46::pc1;
using fips46::pc2;
using fips46::totrot;

constexpr std::size_t KEY = 8; // bytes of a DES key

/// A linear map of 8 groups of 7 bits, as one table for each group.
using CBoxes = std::array<std::array<std::uint64_t, 128>, 8>;

/// Fills the tables from the image of each bit: bitImage(group, bit), bit 0 being the lowest.
template <class F> constexpr CBoxes MakeBoxes(F bitImage)
{
    CBoxes boxes{};
    for (unsigned group = 0; group < 8; ++group) {
        for (unsigned bit = 0; bit < 7; ++bit) {
            const std::uint64_t image = bitImage(group, bit);
            for (unsigned rest = 0; rest < 1U << bit; ++rest) {
                boxes[group][1U << bit | rest] = image | boxes[group][rest];
            }
        }
    }
    return boxes;
}

/// Where the six bits of S-box n (from 0) begin in a pair of words: the byte's bit 0.
constexpr unsigned ByteOf(unsigned n)
{
    return (n % 2 == 0 ? 0 : 32) + 24 - 8 * (n / 2);
}

/// C | D, 28 bits each, of key bit group * 8 + 7 - bit (from 1); the eighth is parity.
constexpr std::uint64_t Pc1Image(unsigned group, unsigned bit)
{
    for (unsigned n = 0; n < pc1.size(); ++n) {
        if (pc1[n] == group * 8 + 7 - bit) {
            return std::uint64_t{1} << (55 - n);
        }
    }
    return 0;
}

/// The round key bits of bit group * 7 + 7 - bit (from 1) of C | D.
constexpr std::uint64_t Pc2Image(unsigned group, unsigned bit)
{
    for (unsigned n = 0; n < pc2.size(); ++n) {
        if (pc2[n] == group * 7 + 7 - bit) {
            return std::uint64_t{1} << (ByteOf(n / 6) + 5 - n % 6);
        }
    }
    return 0; // eight bits of C and D go into no round key
}

constexpr CBoxes PC1_BOXES = MakeBoxes(Pc1Image);
constexpr CBoxes PC2_BOXES = MakeBoxes(Pc2Image);

/// Output of S-box n (from 0) through P and E. The outer bits of the input choose the row.
constexpr std::uint64_t SpboxEntry(unsigned n, unsigned in)
{
    const unsigned row = (in >> 4 & 2) | (in & 1);
    const std::uint32_t out = std::uint32_t{fips46::sbox[n][row * 16 + (in >> 1 & 15)]}
                              << (28 - 4 * n);
    std::uint32_t permuted = 0;
    for (const std::uint8_t bit : fips46::p32) {
        permuted = permuted << 1 | (out >> (32 - bit) & 1);
    }
    return descore::Expand(permuted);
}

constexpr auto MakeSpbox()
{
    std::array<std::array<std::uint64_t, 64>, 8> boxes{};
    for (unsigned n = 0; n < 8; ++n) {
        for (unsigned in = 0; in < 64; ++in) {
            boxes[n][in] = SpboxEntry(n, in);
        }
    }
    return boxes;
}

/// C and D of a key, as 28 bits each.
std::uint64_t PermutedChoice1(const unsigned char* key)
{
    std::uint64_t cd = 0;
    for (std::size_t n = 0; n < KEY; ++n) {
        cd |= PC1_BOXES[n][key[n] >> 1];
    }
    return cd;
}

/// 28 bits twice in a row, so that a rotation to the left is a shift to the right.
std::uint64_t Doubled(std::uint64_t half)
{
    return half << 28 | half;
}

/// Round key of rotated halves, whose low 28 bits count.
std::uint64_t PermutedChoice2(std::uint64_t c, std::uint64_t d)
{
    std::uint64_t key = 0;
    for (unsigned n = 0; n < 4; ++n) {
        key |= PC2_BOXES[n][c >> (21 - 7 * n) & 0x7F] | PC2_BOXES[4 + n][d >> (21 - 7 * n) & 0x7F];
    }
    return key;
}

} // namespace

constinit const std::array<std::array<std::uint64_t, 64>, 8> descore::Spbox = MakeSpbox();

void deskey(unsigned int (*schedule)[2], const unsigned char* key, int decrypt)
{
    constexpr std::uint64_t MASK28 = 0x0FFFFFFF;
    const std::uint64_t cd = PermutedChoice1(key);
    const std::uint64_t c = Doubled(cd >> 28);
    const std::uint64_t d = Doubled(cd & MASK28);
    for (std::size_t n = 0; n < totrot.size(); ++n) {
        const int shift = 28 - totrot[n];
        const std::uint64_t roundKey = PermutedChoice2(c >> shift, d >> shift);
        unsigned int(&pair)[2] = schedule[decrypt == 0 ? n : totrot.size() - 1 - n];
        pair[0] = static_cast<unsigned int>(roundKey);
        pair[1] = static_cast<unsigned int>(roundKey >> 32);
    }
}

void des3key(unsigned int (*schedule)[2], const unsigned char* key, int decrypt)
{
    for (std::size_t n = 0; n < 3; ++n) { // E-D-E, or backwards D-E-D
        const std::size_t nKey = decrypt == 0 ? n : 2 - n;
        const bool bDecrypt = (decrypt != 0) != (n == 1);
        deskey(schedule + n * descore::DES_ROUNDS, key + nKey * KEY, bDecrypt ? 1 : 0);
    }
}

void des3(const unsigned int (*schedule)[2], unsigned char* block)
{
    descore::SState state = descore::Load(block);
    descore::Crypt(schedule, descore::TDES_ROUNDS, state);
    descore::Store(state, block);
}
