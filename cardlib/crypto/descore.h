// SPDX-License-Identifier: Apache-2.0
//
// The inside of the block cipher, shared by the single-block functions, chaining and the retail
// MAC. Internal to the library.
//
// A half block is kept expanded: the eight 6-bit inputs of the S-boxes, one to a byte, which is
// what a round consumes. The generated Spbox entries are expanded too, so that the expansion E
// costs nothing and a round is eight look-ups. Chaining, and one cipher behind another, work on
// this form directly; the permutations at both ends happen only where bytes enter or leave.

#ifndef CARDLIB_CRYPTO_DESCORE_H
#define CARDLIB_CRYPTO_DESCORE_H

#include "cardlib/des3port.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

namespace descore {

constexpr std::size_t DES_ROUNDS = 16;
constexpr std::size_t TDES_ROUNDS = 3 * DES_ROUNDS;
constexpr std::size_t BLOCK = 8;

/// What one S-box adds to the other half: P and E of its output, expanded.
extern const std::array<std::array<std::uint64_t, 64>, 8> Spbox;

/// A key schedule of N rounds that wipes itself.
template <std::size_t N> struct SSchedule {
    SSchedule() = default;
    ~SSchedule() { explicit_bzero(m_aKeys, sizeof m_aKeys); }
    SSchedule(const SSchedule&) = delete;
    SSchedule& operator=(const SSchedule&) = delete;

    unsigned int m_aKeys[N][2];
};

struct SDesSchedule : SSchedule<DES_ROUNDS> {
    SDesSchedule(const unsigned char* key, int decrypt) { deskey(m_aKeys, key, decrypt); }
};

struct STdesSchedule : SSchedule<TDES_ROUNDS> {
    STdesSchedule(const unsigned char* key, int decrypt) { des3key(m_aKeys, key, decrypt); }
};

/// A round key or an expanded half: S-boxes 1, 3, 5, 7 in the low word, 2, 4, 6, 8 in the high.
constexpr std::uint64_t Pair(std::uint32_t odd, std::uint32_t even)
{
    return std::uint64_t{even} << 32 | odd;
}

/// E: each window of six bits (one of the half's bits at either side of four) into its byte.
constexpr std::uint64_t Expand(std::uint32_t half)
{
    return Pair((half >> 3 | half << 29) & 0x3F3F3F3F, (half << 1 | half >> 31) & 0x3F3F3F3F);
}

/// Undoes Expand: the middle four bits of each window.
constexpr std::uint32_t Contract(std::uint64_t expanded)
{
    const auto odd = static_cast<std::uint32_t>(expanded);
    const auto even = static_cast<std::uint32_t>(expanded >> 32);
    return (odd << 3 & 0xF0F0F0F0) | (even >> 1 & 0x0F0F0F0F);
}

/// A block between the initial and the final permutation.
struct SState {
    std::uint64_t m_left = 0;
    std::uint64_t m_right = 0;

    SState& operator^=(const SState& other)
    {
        m_left ^= other.m_left;
        m_right ^= other.m_right;
        return *this;
    }
};

inline std::uint32_t LoadWord(const unsigned char* pb)
{
    return std::uint32_t{pb[0]} << 24 | std::uint32_t{pb[1]} << 16 | std::uint32_t{pb[2]} << 8 |
           pb[3];
}

inline void StoreWord(std::uint32_t w, unsigned char* pb)
{
    pb[0] = static_cast<unsigned char>(w >> 24);
    pb[1] = static_cast<unsigned char>(w >> 16);
    pb[2] = static_cast<unsigned char>(w >> 8);
    pb[3] = static_cast<unsigned char>(w);
}

/// Exchanges the bits of a under mask << shift with those of b under mask.
inline void SwapBits(std::uint32_t& a, std::uint32_t& b, int shift, std::uint32_t mask)
{
    const std::uint32_t differing = ((a >> shift) ^ b) & mask;
    b ^= differing;
    a ^= differing << shift;
}

/// Reads 8 bytes through the initial permutation.
inline SState Load(const unsigned char* block)
{
    std::uint32_t left = LoadWord(block);
    std::uint32_t right = LoadWord(block + 4);
    SwapBits(left, right, 4, 0x0F0F0F0F);
    SwapBits(left, right, 16, 0x0000FFFF);
    SwapBits(right, left, 2, 0x33333333);
    SwapBits(right, left, 8, 0x00FF00FF);
    SwapBits(left, right, 1, 0x55555555);
    return {Expand(left), Expand(right)};
}

/// Writes 8 bytes through the final permutation.
inline void Store(const SState& state, unsigned char* block)
{
    std::uint32_t left = Contract(state.m_left);
    std::uint32_t right = Contract(state.m_right);
    SwapBits(left, right, 1, 0x55555555);
    SwapBits(right, left, 8, 0x00FF00FF);
    SwapBits(right, left, 2, 0x33333333);
    SwapBits(left, right, 16, 0x0000FFFF);
    SwapBits(left, right, 4, 0x0F0F0F0F);
    StoreWord(left, block);
    StoreWord(right, block + 4);
}

/// The cipher function of one round: look-ups in the order of the bytes, lowest first.
inline std::uint64_t Feistel(std::uint64_t half, const unsigned int (&key)[2])
{
    constexpr std::uint64_t WINDOWS = 0x3F3F3F3F3F3F3F3F; // whatever a caller's schedule holds
    const std::uint64_t in = half ^ (Pair(key[0], key[1]) & WINDOWS);
    const auto box = [in](std::size_t n, int shift) { return Spbox[n - 1][in >> shift & 0xFF]; };
    return ((box(7, 0) ^ box(5, 8)) ^ (box(3, 16) ^ box(1, 24))) ^
           ((box(8, 32) ^ box(6, 40)) ^ (box(4, 48) ^ box(2, 56)));
}

/// Runs blocks through nRounds rounds, a multiple of 16, side by side: the rounds of one block
/// wait for each other, those of another fill the gaps.
template <std::size_t N>
inline void Crypt(const unsigned int (*schedule)[2], std::size_t nRounds,
                  std::array<SState, N>& blocks)
{
    for (std::size_t n = 0; n < nRounds; n += DES_ROUNDS) {
        for (std::size_t i = n; i < n + DES_ROUNDS; i += 2) {
            for (SState& block : blocks) {
                block.m_left ^= Feistel(block.m_right, schedule[i]);
            }
            for (SState& block : blocks) {
                block.m_right ^= Feistel(block.m_left, schedule[i + 1]);
            }
        }
        for (SState& block : blocks) { // the last round of a DES does not exchange the halves
            std::swap(block.m_left, block.m_right);
        }
    }
}

inline void Crypt(const unsigned int (*schedule)[2], std::size_t nRounds, SState& block)
{
    std::array<SState, 1> blocks{block};
    Crypt(schedule, nRounds, blocks);
    block = blocks[0];
}

} // namespace descore

#endif
