// SPDX-License-Identifier: Apache-2.0
//
// A virtual card at work: the model together with what both plugs offer around it, namely faults,
// latency, a log, and files that outlive the process.

#ifndef TOOLS_VIRTUALCARD_PLUGGED_PLUGGEDCARD_H
#define TOOLS_VIRTUALCARD_PLUGGED_PLUGGEDCARD_H

#include "model/card.h"
#include "plugged/apdulog.h"
#include "plugged/faults.h"
#include "plugged/jsonfile.h"
#include "plugged/recording.h"

#include <chrono>
#include <filesystem>
#include <memory>

namespace vcard {

struct SPluggedCardOptions {
    SCardOptions card;
    std::optional<CRecording> replay; ///< what was recorded, in place of a card
    CFaultPlan faults;
    std::chrono::milliseconds latency{0};    ///< waited before each APDU
    std::chrono::milliseconds arrival{0};    ///< the reader is empty that long at first
    std::chrono::milliseconds absence{1000}; ///< how long a removed card stays away
    std::filesystem::path statePath;         ///< empty for a card that forgets
    std::filesystem::path countersPath;      ///< empty for none
    std::shared_ptr<std::ostream> log;       ///< null for none
};

/// What became of one exchange.
struct SExchange {
    Bytes answer{};                ///< as the card gave it or a fault made it
    std::uint32_t ulPcscError = 0; ///< not 0: the exchange fails with this PC/SC code
    EEvent event = EEvent::NONE;   ///< what befell card, reader or service; nothing is answered
};

class CPluggedCard {
public:
    /// Builds the card and, where there is a state file, brings it back to that state.
    /// \throws std::invalid_argument  for options or a state that the card refuses
    /// \throws std::runtime_error     for files that cannot be read or written
    explicit CPluggedCard(const SPluggedCardOptions& options);

    Bytes Atr() const;
    bool IsT1() const; ///< the protocol that it offers first, else T=0

    /// Power or reset: what the card knew only for this session is gone.
    void Reset();

    /// The card's side of an event: a swap takes the other card, any other is a reset.
    void Play(EEvent event);

    /// One command. The files are up to date before its outcome is handed over.
    /// \throws std::runtime_error  when they cannot be written
    SExchange Transmit(std::span<const std::uint8_t> command);

    /// Those of the card (README.md), and as "other-card" those of the one it was swapped for.
    nlohmann::json Counters() const;

private:
    CCard& Inserted() const { return m_bOtherInserted ? *m_pOther : *m_pCard; }
    SExchange Execute(std::span<const std::uint8_t> command);
    SExchange Spoil(const SFault& fault, std::span<const std::uint8_t> command);
    void Swap();
    void Save();

    SCardOptions m_options;
    std::optional<CRecording> m_replay;
    std::unique_ptr<CCard> m_pCard, m_pOther; // the other exists from the first swap on
    bool m_bOtherInserted = false;
    CFaultPlan m_faults;
    std::chrono::milliseconds m_latency;
    CJsonFile m_state;
    CJsonFile m_counters;
    CApduLog m_log;
};

} // namespace vcard

#endif
