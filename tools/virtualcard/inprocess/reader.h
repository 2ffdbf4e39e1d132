// SPDX-License-Identifier: Apache-2.0
//
// The one reader of the in-process PC/SC and the card in it: presence, resets, and the exchange.

#ifndef VIRTUALCARD_INPROCESS_READER_H
#define VIRTUALCARD_INPROCESS_READER_H

#include "inprocess/settings.h"

#include <chrono>
#include <winscard.h>

namespace vcard {

/// Not safe for use by two threads at a time; the service that owns it sees to that.
class CReader {
public:
    using Clock = std::chrono::steady_clock;

    explicit CReader(const SSettings& settings);

    const std::string& Name() const { return m_strName; }
    bool Exists() const { return !m_strName.empty(); }
    Bytes Atr() const { return m_plugged.Atr(); }
    DWORD Protocol() const { return m_dwProtocol; } ///< SCARD_PROTOCOL_T0 or _T1

    bool Present() const { return Clock::now() >= m_back; }
    Clock::time_point Back() const { return m_back; } ///< when a card that is away returns

    /// How often a card came or went.
    unsigned long Movements() const { return 2 * m_ulRemovals - (Present() ? 0 : 1); }
    unsigned long Removals() const { return m_ulRemovals; }
    unsigned long Resets() const { return m_ulResets; }

    void Reset();

    /// One exchange with a present card, answered as pcscd would.
    /// \param answer  receives the bytes; none where a fault removed the card
    /// \returns SCARD_S_SUCCESS or the PC/SC code that a fault asks for
    LONG Transmit(std::span<const std::uint8_t> command, Bytes& answer);

private:
    std::string m_strName;
    CPluggedCard m_plugged;
    DWORD m_dwProtocol;
    Clock::time_point m_back;
    unsigned long m_ulRemovals = 0;
    unsigned long m_ulResets = 0;
};

} // namespace vcard

#endif
