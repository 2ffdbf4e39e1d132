// SPDX-License-Identifier: Apache-2.0
//
// The one place where a value typed or read lives: of fixed size, never copied, wiped when it goes.

#ifndef TOOLS_PINDESK_SECRET_INPUT_H
#define TOOLS_PINDESK_SECRET_INPUT_H

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

    const unsigned char* data() const { return m_ab.data(); }
    std::size_t size() const { return m_cb; }
    unsigned char Last() const { return m_ab[m_cb - 1]; }
    bool IsEmpty() const { return m_cb == 0; }

    std::string_view View() const { return {reinterpret_cast<const char*>(m_ab.data()), m_cb}; }
    /// Byte by byte: memcmp would leave the value in wide registers, and the first call of a
    /// function elsewhere writes those to the stack while it is bound.
    bool Equals(std::string_view text) const
    {
        bool isSame = m_cb == text.size();
        for (std::size_t i = 0; isSame && i < m_cb; ++i) {
            isSame = View()[i] == text[i];
        }
        return isSame;
    }
    bool Equals(const CSecretInput& other) const { return Equals(other.View()); }

private:
    std::array<unsigned char, CAPACITY + 1> m_ab{};
    std::size_t m_cb = 0;
};

} // namespace tool

#endif
