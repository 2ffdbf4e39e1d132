// SPDX-License-Identifier: Apache-2.0
//
// The faults that a virtual card plays on request: which APDU fails, and in what way.

#ifndef TOOLS_VIRTUALCARD_PLUGGED_FAULTS_H
#define TOOLS_VIRTUALCARD_PLUGGED_FAULTS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vcard {

/// What can happen around a card, beside an exchange that fails.
enum class EEvent {
    NONE,
    REMOVED,   ///< the card leaves the reader, and comes back after a while
    PULLED,    ///< the card leaves the reader for good
    SWAPPED,   ///< the card leaves, and after a while another one is there; the next swap undoes it
    RESET,     ///< another program resets the card
    KILLED,    ///< the PC/SC service dies
    RESTARTED, ///< the PC/SC service dies, and a new one is there at once
};

/// The event of this name ("removed", "pulled", ...), or NONE.
EEvent EventNamed(std::string_view name);

/// One way for an exchange to fail.
struct SFault {
    enum class EKind {
        BYTES,       ///< an answer of ulValue bytes: cut, or filled with zeros in front
        MAC,         ///< the byte before the status word is wrong: the last of a protected answer
        STATUS_WORD, ///< nothing but the status word ulValue
        PCSC,        ///< the exchange fails with the PC/SC code ulValue
        EVENT,       ///< the event happens, and nothing is answered
    };

    EKind kind;
    bool bAfter; ///< the card executes the command first, only the answer is lost
    std::uint32_t ulValue = 0;
    EEvent event = EEvent::NONE;
};

/// The faults asked for, by the number of the APDU they hit.
class CFaultPlan {
public:
    /// Adds a rule N:KIND for the N-th APDU from the start, counted from 1, or N+:KIND for that one
    /// and all that follow. KIND is empty, bytes=N, mac, sw=XXXX, pcsc=XXXXXXXX or an event's name;
    /// -before or -after behind its name says whether the card executes the command.
    /// \throws std::invalid_argument  that names what is wrong with the rule
    void Add(const std::string& strRule);

    /// Whether a rule asks for what only a plug on the caller's side can give: a PC/SC code, or
    /// what befalls the service.
    bool NeedsOwnService() const;

    /// APDUs so far.
    unsigned long Apdus() const { return m_ulApdus; }

    /// Counts one APDU, and gives the fault that hits it, if any.
    std::optional<SFault> Next();

private:
    struct SRule {
        unsigned long ulFirst, ulLast;
        SFault fault;
    };
    std::vector<SRule> m_rules;
    unsigned long m_ulApdus = 0;
};

} // namespace vcard

#endif
