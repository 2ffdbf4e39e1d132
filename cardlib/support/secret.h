// SPDX-License-Identifier: Apache-2.0
//
// Buffers that wipe themselves: each secret has one owner, is never copied by accident, and leaves
// nothing behind when its owner goes. Internal to the library.

#ifndef CARDLIB_SUPPORT_SECRET_H
#define CARDLIB_SUPPORT_SECRET_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

/// A secret of at most N bytes, kept in place.
template <std::size_t N> class CSecret {
public:
    CSecret() = default;
    ~CSecret() { explicit_bzero(m_ab.data(), N); } // memset here is optimised away
    CSecret(const CSecret&) = delete;
    CSecret& operator=(const CSecret&) = delete;

    /// Copies cb bytes, fills the rest with bPad. False, and unchanged, if they do not fit or if
    /// pb is null while cb is not 0.
    [[nodiscard]] bool Assign(const std::uint8_t* pb, std::size_t cb, std::uint8_t bPad)
    {
        if (cb > N || (pb == nullptr && cb != 0)) {
            return false;
        }
        std::fill(std::copy_n(pb, cb, m_ab.begin()), m_ab.end(), bPad);
        return true;
    }

    std::uint8_t* data() { return m_ab.data(); }
    const std::uint8_t* data() const { return m_ab.data(); }
    static constexpr std::size_t size() { return N; }

private:
    std::array<std::uint8_t, N> m_ab{};
};

using CPinBlock = CSecret<8>; // a PIN or PUK as the card takes it
using CTdesKey = CSecret<24>; // K1 | K2 | K3

/// Owns an array allocated with array new, wipes it before it is freed. Takes over what the
/// cryptographic helpers hand back, and holds what they are about to hand back.
class CWipedArray {
public:
    CWipedArray() = default;
    CWipedArray(std::uint8_t* pb, std::size_t cb) : m_pb(pb), m_cb(pb == nullptr ? 0 : cb) {}
    CWipedArray(CWipedArray&& other) noexcept
        : m_pb(std::exchange(other.m_pb, nullptr)), m_cb(std::exchange(other.m_cb, 0))
    {
    }
    CWipedArray& operator=(CWipedArray&&) = delete;
    ~CWipedArray()
    {
        if (m_pb != nullptr) {
            explicit_bzero(m_pb, m_cb);
            delete[] m_pb;
        }
    }

    /// cb zero bytes; null data() when there is no memory for them.
    static CWipedArray Zeroed(std::size_t cb)
    {
        return {new (std::nothrow) std::uint8_t[cb](), cb};
    }

    std::uint8_t* data() const { return m_pb; }
    std::size_t size() const { return m_cb; }
    explicit operator bool() const { return m_pb != nullptr; }

    /// Gives the array away, unwiped, to a caller who frees it with array delete.
    [[nodiscard]] std::uint8_t* Release()
    {
        m_cb = 0;
        return std::exchange(m_pb, nullptr);
    }

private:
    std::uint8_t* m_pb = nullptr;
    std::size_t m_cb = 0;
};

#endif
