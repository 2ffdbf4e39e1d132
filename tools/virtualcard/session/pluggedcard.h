// SPDX-License-Identifier: Apache-2.0
//
// A virtual card at work: the model together with what both plugs offer around it, namely faults,
// latency, a log, and files that outlive the process.

#ifndef VIRTUALCARD_SESSION_PLUGGEDCARD_H
#define VIRTUALCARD_SESSION_PLUGGEDCARD_H

#include "model/card.h"
#include "session/apdulog.h"
#include "session/faults.h"
#include "session/jsonfile.h"

#include <chrono>
#include <filesystem>

namespace vcard {

struct SPluggedCardOptions {
    SCardOptions card;
    CFaultPlan faults;
    std::chrono::milliseconds latency{0}; ///< waited before each APDU
    std::filesystem::path statePath;      ///< empty for a card that forgets
    std::filesystem::path countersPath;   ///< empty for none
    std::ostream* log = nullptr;          ///< must outlive the card
};

/// What became of one exchange.
struct SExchange {
    Bytes answer{};                ///< as the card gave it or a fault made it
    bool bRemoved = false;         ///< the card has left the reader
    std::uint32_t ulPcscError = 0; ///< not 0: the exchange fails with this PC/SC code
};

class CPluggedCard {
public:
    /// Builds the card and, where there is a state file, brings it back to that state.
    /// \throws std::invalid_argument  for options or a state that the card refuses
    /// \throws std::runtime_error     for files that cannot be read or written
    explicit CPluggedCard(const SPluggedCardOptions& options);

    Bytes Atr() const { return m_card.Atr(); }

    /// Power or reset: what the card knew only for this session is gone.
    void Reset();

    /// One command. The files are up to date before its outcome is handed over.
    /// \throws std::runtime_error  when they cannot be written
    SExchange Transmit(std::span<const std::uint8_t> command);

private:
    Bytes Execute(std::span<const std::uint8_t> command);
    SExchange Spoil(const SFault& fault, std::span<const std::uint8_t> command);
    void Save();

    CCard m_card;
    CFaultPlan m_faults;
    std::chrono::milliseconds m_latency;
    CJsonFile m_state;
    CJsonFile m_counters;
    CApduLog m_log;
};

} // namespace vcard

#endif
