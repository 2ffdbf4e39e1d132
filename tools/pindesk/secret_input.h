// SPDX-License-Identifier: Apache-2.0
//
// The one place where a value typed or read lives: of fixed size, never copied, wiped when it goes.

#ifndef TOOLS_PINDESK_SECRET_INPUT_H
#define TOOLS_PINDESK_SECRET_INPUT_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace tool {

class CSecretInput {
public:
    static constexpr std::size_t CAPACITY = 64; // a 24-byte key in hexadecimal, and room to spare

    CSecretInput() = default;
    ~CSecretInput() { Wipe(); }
    CSecretInput(const CSecretInput&) = delete;
    CSecretInput& operator=(const CSecretInput&) = delete;

    void Wipe()
    {
        explicit_bzero(m_ab.data(), m_ab.size());
        m_cb = 0;
    }

    /// False, and unchanged, when there is no room for one more byte.
    [[nodiscard]] bool Append(unsigned char b)
    {
        if (m_cb == CAPACITY) {
            return false;
        }
        m_ab[m_cb++] = b;
        return true;
    }

    void DropLast() { m_ab[--m_cb] = 0; }

    /// Of the library's operations, which take pointers to what they do not change. A NUL follows
    /// the value.
    unsigned char* data() { return m_ab.data(); }
    const char* c_str() const { return reinterpret_cast<const char*>(m_ab.data()); }
    std::size_t size() const { return m_cb; }
    unsigned char back() const { return m_ab[m_cb - 1]; }
    bool empty() const { return m_cb == 0; }

    bool Equals(std::string_view text) const { return std::string_view(c_str(), m_cb) == text; }
    bool Equals(const CSecretInput& other) const { return Equals({other.c_str(), other.m_cb}); }
    bool Contains(unsigned char b) const
    {
        return std::find(m_ab.begin(), m_ab.begin() + static_cast<std::ptrdiff_t>(m_cb), b) !=
               m_ab.begin() + static_cast<std::ptrdiff_t>(m_cb);
    }

private:
    std::array<unsigned char, CAPACITY + 1> m_ab{};
    std::size_t m_cb = 0;
};

} // namespace tool

#endif
