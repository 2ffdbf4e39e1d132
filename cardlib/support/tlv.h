// SPDX-License-Identifier: Apache-2.0
//
// The one reader of flat chains of tag byte, length byte, value: the exported TLV functions, file
// control information, listings and protected answers all stand on it. Internal to the library.

#ifndef CARDLIB_SUPPORT_TLV_H
#define CARDLIB_SUPPORT_TLV_H

#include "cardlib/support/bigendian.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

/// A view of bytes that may be a chain of elements, as the value of an element may be. It owns
/// nothing; one that was not found has neither bytes nor elements.
class CTlv {
public:
    static constexpr std::size_t HEADER = 2; ///< tag and length

    CTlv() = default;
    CTlv(const std::uint8_t* pb, std::size_t cb) : m_pb(pb), m_cb(pb == nullptr ? 0 : cb) {}

    explicit operator bool() const { return m_pb != nullptr; }
    const std::uint8_t* data() const { return m_pb; }
    std::size_t size() const { return m_cb; }
    std::uint8_t operator[](std::size_t i) const { return m_pb[i]; }
    /// Whether it was found and has so many bytes.
    bool Is(std::size_t cb) const { return m_pb != nullptr && m_cb == cb; }
    bool HasAtLeast(std::size_t cb) const { return m_pb != nullptr && m_cb >= cb; }
    /// Two of its bytes as a number.
    std::uint16_t Word(std::size_t i = 0) const { return BigEndian(m_pb + i); }

    /// Whether all of it is a chain.
    bool IsChain() const
    {
        CTlv rest = *this;
        while (rest.FirstIsSound()) {
            rest = rest.BehindFirst();
        }
        return m_cb >= HEADER && rest.m_cb == 0;
    }

    /// The value of the first element with a tag: not found behind a broken element, or when it
    /// ends outside the chain.
    CTlv Find(std::uint16_t wTag) const
    {
        CTlv rest = *this;
        while (rest.FirstIsSound()) {
            if (rest.m_pb[0] == wTag) {
                return rest.FirstValue();
            }
            rest = rest.BehindFirst();
        }
        return {};
    }

    /// What follows one of this chain's values.
    CTlv Behind(const CTlv& value) const
    {
        const std::uint8_t* const pbNext = value.m_pb + value.m_cb;
        return {pbNext, static_cast<std::size_t>(m_pb + m_cb - pbNext)};
    }
    /// A value that was found, with its tag and length in front.
    CTlv Element() const { return {m_pb - HEADER, m_cb + HEADER}; }

private:
    /// The last value of a chain may lack its last byte: cards that count so are in use.
    bool FirstIsSound() const { return m_cb >= HEADER && m_cb >= FirstLength() + 1; }
    std::size_t FirstLength() const { return m_pb[1]; }
    CTlv FirstValue() const
    {
        return m_cb >= FirstLength() + HEADER ? CTlv(m_pb + HEADER, FirstLength()) : CTlv();
    }
    CTlv BehindFirst() const
    {
        const std::size_t cbFirst = std::min(FirstLength() + HEADER, m_cb);
        return {m_pb + cbFirst, m_cb - cbFirst};
    }

    const std::uint8_t* m_pb = nullptr;
    std::size_t m_cb = 0;
};

#endif
