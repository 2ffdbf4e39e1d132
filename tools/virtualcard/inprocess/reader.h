// SPDX-License-Identifier: Apache-2.0
//
// A reader of the in-process PC/SC and the card in it: presence, resets, and the exchange.

#ifndef TOOLS_VIRTUALCARD_INPROCESS_READER_H
#define TOOLS_VIRTUALCARD_INPROCESS_READER_H

#include "inprocess/settings.h"

#include <chrono>
#include <winscard.h>

namespace vcard {

/// Not safe for use by two threads at a time; the service that owns it sees to that.
class CReader {
public:
    using Clock = std::chrono::steady_clock;

    explicit CReader(const SReaderSettings& settings);

    const std::string& Name() const { return m_strName; }
    Bytes Atr() const { return m_plugged.Atr(); }
    DWORD Protocol() const { return m_dwProtocol; } ///< SCARD_PROTOCOL_T0 or _T1

    bool Present() const { return Clock::now() >= m_back; }
    Clock::time_point Back() const { return m_back; } ///< when a card that is away returns

    /// How often a card came or went.
    unsigned long Movements() const
    {
        return 2 * m_ulRemovals + (m_bStartedEmpty ? 1 : 0) - (Present() ? 0 : 1);
    }
    unsigned long Removals() const { return m_ulRemovals; }
    unsigned long Resets() const { return m_ulResets; }

    void Reset();

    /// What an event does to this reader and its card.
    void Play(EEvent event);

    /// One exchange with a present card. An event in it is still to be played.
    SExchange Transmit(std::span<const std::uint8_t> command)
    {
        return m_plugged.Transmit(command);
    }

    nlohmann::json Counters() const { return m_plugged.Counters(); }

private:
    std::string m_strName;
    CPluggedCard m_plugged;
    DWORD m_dwProtocol;
    std::chrono::milliseconds m_absence;
    bool m_bStartedEmpty;
    Clock::time_point m_back;
    unsigned long m_ulRemovals = 0;
    unsigned long m_ulResets = 0;
};

} // namespace vcard

#endif
