// SPDX-License-Identifier: Apache-2.0
//
// The secrets of a test that searches its own memory for them: masked at all times, except in one
// page for as long as an operation needs them.

#ifndef TESTS_MEMORY_MASKED_H
#define TESTS_MEMORY_MASKED_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <span>
#include <string_view>

using Byte = unsigned char;

constexpr Byte MASK = 0xA5;
/// The same, read anew for each byte: the compiler shall not undo the masking in advance, nor move
/// a secret through wide registers that end up on some stack.
inline const volatile Byte FRESH_MASK = MASK;

/// At most 24 bytes, kept masked.
class CMasked {
public:
    consteval CMasked(const char* szName, std::string_view secret)
        : m_szName(szName), m_cb(secret.size())
    {
        std::transform(secret.begin(), secret.end(), m_ab.begin(),
                       [](char c) { return static_cast<Byte>(static_cast<Byte>(c) ^ MASK); });
    }

    CMasked(const char* szName, std::span<const Byte> secret)
        : m_szName(szName), m_cb(secret.size())
    {
        std::transform(secret.begin(), secret.end(), m_ab.begin(),
                       [](Byte b) { return static_cast<Byte>(b ^ MASK); });
    }

    const char* Name() const { return m_szName; }
    std::size_t size() const { return m_cb; }
    Byte MaskedAt(std::size_t i) const { return m_ab[i]; }

    /// Writes the secret itself.
    void Reveal(Byte* pbOut) const
    {
        volatile Byte* const pb = pbOut;
        for (std::size_t i = 0; i < m_cb; ++i) {
            pb[i] = static_cast<Byte>(m_ab[i] ^ FRESH_MASK);
        }
    }

private:
    static constexpr std::size_t CAPACITY = 24;

    const char* m_szName;
    std::array<Byte, CAPACITY> m_ab{};
    std::size_t m_cb;
};

/// Secrets as they are, in memory that is wiped at the end of the scope.
class CRevealed {
public:
    explicit CRevealed(std::span<const CMasked> secrets)
    {
        for (std::size_t i = 0; i < secrets.size(); ++i) {
            secrets[i].Reveal(m_slots.at(i).data());
        }
    }
    ~CRevealed() { explicit_bzero(&m_slots, sizeof m_slots); }
    CRevealed(const CRevealed&) = delete;
    CRevealed& operator=(const CRevealed&) = delete;

    Byte* operator[](std::size_t i) { return m_slots.at(i).data(); }

private:
    std::array<std::array<Byte, 32>, 16> m_slots{};
};

#endif
