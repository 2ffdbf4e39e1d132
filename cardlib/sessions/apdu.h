// SPDX-License-Identifier: Apache-2.0
//
// Command and response APDUs of ISO/IEC 7816-4 as values.
// Internal: no public header includes this.

#ifndef CARDLIB_SESSIONS_APDU_H
#define CARDLIB_SESSIONS_APDU_H

#include "cardlib/cktypes.h"
#include "cardlib/sessions/iso7816.h"
#include "cardlib/support/bigendian.h"
#include "cardlib/support/tlv.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>

/// A short command under construction, in a buffer of fixed size that wipes itself.
///
/// Data keeps Lc right (its low byte: one administration command of this family carries more than
/// 255 bytes). Too much data latches: Fits() is false and the sender refuses the command.
class CCommandApdu {
public:
    static constexpr std::size_t HEADER = 5;
    static constexpr std::size_t CAPACITY = HEADER + 1019;
    /// What callers may put into a short command.
    static constexpr CK_BYTE MAX_DATA = 251;

    CCommandApdu(std::uint8_t bCla, std::uint8_t bIns, std::uint8_t bP1, std::uint8_t bP2)
        : m_ab{bCla, bIns, bP1, bP2}
    {
    }
    CCommandApdu(std::uint8_t bCla, std::uint8_t bIns, std::uint16_t wP1P2)
        : CCommandApdu(bCla, bIns, High(wP1P2), Low(wP1P2))
    {
    }
    ~CCommandApdu() { explicit_bzero(m_ab.data(), m_ab.size()); }
    CCommandApdu(const CCommandApdu&) = delete;
    CCommandApdu& operator=(const CCommandApdu&) = delete;

    /// Appends to the data field; a null pointer appends zeros.
    CCommandApdu& Data(const std::uint8_t* pb, std::size_t cb)
    {
        m_cb = std::max(m_cb, HEADER);
        Append(pb, cb);
        m_cbData = m_cb - HEADER;
        m_ab[HEADER - 1] = static_cast<std::uint8_t>(m_cbData);
        return *this;
    }
    CCommandApdu& Data(std::initializer_list<std::uint8_t> bytes)
    {
        return Data(bytes.begin(), bytes.size());
    }
    CCommandApdu& Word(std::uint16_t w) { return Data({High(w), Low(w)}); }
    /// Closes the command with the expected length.
    CCommandApdu& Le(std::uint8_t b) { return Raw({b}); }

    /// Appends bytes that Lc does not count, for the commands whose Lc is not their length.
    CCommandApdu& Raw(std::initializer_list<std::uint8_t> bytes)
    {
        Append(bytes.begin(), bytes.size());
        return *this;
    }

    bool Fits() const { return m_bFits; }
    /// Whether Lc says less than the data has: an envelope would cut it.
    bool ExceedsLc() const { return m_cbData > 0xFF; }
    std::uint8_t* data() { return m_ab.data(); }
    const std::uint8_t* data() const { return m_ab.data(); }
    std::size_t size() const { return m_cb; }

private:
    void Append(const std::uint8_t* pb, std::size_t cb)
    {
        if (cb > CAPACITY - m_cb) {
            m_bFits = false;
            return;
        }
        if (pb != nullptr && cb != 0) {
            std::memcpy(m_ab.data() + m_cb, pb, cb);
        }
        m_cb += cb;
    }

    std::array<std::uint8_t, CAPACITY> m_ab{};
    std::size_t m_cb = HEADER - 1;
    std::size_t m_cbData = 0;
    bool m_bFits = true;
};

/// The answer to one command, in a zeroed buffer that wipes itself. A few bytes of slack behind the
/// capacity let a reader of the data look past its end.
class CResponseApdu {
public:
    static constexpr std::size_t MAX = 256;

    /// \param cbCapacity  what is announced to the transport, at most MAX.
    explicit CResponseApdu(std::size_t cbCapacity = MAX)
        : m_cbCapacity(cbCapacity), m_cb(cbCapacity)
    {
    }
    ~CResponseApdu() { explicit_bzero(m_ab.data(), m_ab.size()); }
    CResponseApdu(const CResponseApdu&) = delete;
    CResponseApdu& operator=(const CResponseApdu&) = delete;

    /// Whether there is a status word, within the buffer.
    bool Usable() const { return m_cb >= 2 && m_cb <= m_cbCapacity; }
    std::uint16_t Sw() const { return BigEndian(&m_ab[m_cb - 2]); }
    /// The capacity that the transport announces instead of the caller's.
    void Announce(std::size_t cbCapacity) { m_cbCapacity = cbCapacity; }
    std::uint8_t* data() { return m_ab.data(); }
    std::uint8_t operator[](std::size_t i) const { return m_ab[i]; }
    /// Whether a result is the card's own refusal, not a failure of the exchange.
    bool Refused(long lResult) const { return Usable() && lResult == Sw(); }
    /// Whether a failed selection has surely not moved the card: neither a warning nor a lost
    /// answer.
    bool LeftPosition(long lResult) const
    {
        return Refused(lResult) && lResult >= sw::FIRST_ERROR && lResult <= sw::LAST_ERROR;
    }
    /// Bytes in front of the status word.
    std::size_t DataLength() const { return m_cb - 2; }
    CTlv Tlv() const { return {m_ab.data(), DataLength()}; }
    /// In: capacity; out: length. For the transport.
    DWORD* Length() { return &m_cb; }

    /// What the exchange came to: its own code, 0 for 9000, else the status word.
    long Result(long lExchange) const
    {
        if (lExchange != 0) {
            return lExchange;
        }
        if (!Usable() || Sw() == 0) { // as a number 0000 would pass for success
            return sw::NO_DIAGNOSIS;
        }
        return Sw() == sw::SUCCESS ? 0 : Sw();
    }

private:
    std::array<std::uint8_t, MAX + 8> m_ab{};
    std::size_t m_cbCapacity;
    DWORD m_cb;
};

#endif
