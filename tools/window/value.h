// SPDX-License-Identifier: Apache-2.0
//
// The memory of what a person types into a secret's field: of fixed size, so that nothing is ever
// copied to a larger place, and wiped when it goes.

#ifndef TOOLS_WINDOW_VALUE_H
#define TOOLS_WINDOW_VALUE_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

namespace window {

class CValue {
public:
    CValue() = default;
    ~CValue() { Clear(); }
    CValue(const CValue&) = delete;
    CValue& operator=(const CValue&) = delete;

    const unsigned char* data() const { return m_ab.data(); }
    std::size_t size() const { return m_cb; }

    /// Appends a character. \return false, and unchanged, when the value is full.
    bool Append(unsigned char ch)
    {
        if (m_cb == m_ab.size()) {
            return false;
        }
        m_ab[m_cb++] = ch;
        return true;
    }

    void RemoveLast()
    {
        if (m_cb > 0) {
            m_ab[--m_cb] = 0;
        }
    }

    void Clear()
    {
        explicit_bzero(m_ab.data(), m_ab.size());
        m_cb = 0;
    }

    /// Takes another value's characters away from it.
    void TakeFrom(CValue& other)
    {
        m_ab = other.m_ab;
        m_cb = other.m_cb;
        other.Clear();
    }

    bool operator==(const CValue& other) const { return m_cb == other.m_cb && m_ab == other.m_ab; }

private:
    std::array<unsigned char, 8> m_ab{}; // no secret of these cards is longer
    std::size_t m_cb = 0;
};

} // namespace window

#endif
