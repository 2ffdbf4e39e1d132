// SPDX-License-Identifier: Apache-2.0
//
// The faults that a virtual card plays on request: which APDU fails, and in what way.

#ifndef VIRTUALCARD_SESSION_FAULTS_H
#define VIRTUALCARD_SESSION_FAULTS_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace vcard {

/// One way for an exchange to fail.
struct SFault {
    enum class EKind {
        EMPTY,       ///< an answer without a byte
        SHORT,       ///< an answer of one byte
        LONG,        ///< an answer of 300 bytes, more than a short APDU may have
        STATUS_WORD, ///< nothing but the status word ulValue
        REMOVED,     ///< the card leaves the reader, and comes back after a moment
        PCSC,        ///< the exchange fails with the PC/SC code ulValue
    };

    EKind kind;
    bool bAfter; ///< the card executes the command first, only the answer is lost
    std::uint32_t ulValue;
};

/// The faults asked for, by the number of the APDU they hit.
class CFaultPlan {
public:
    /// Adds a rule N:KIND for the N-th APDU from the start, counted from 1. KIND is empty,
    /// empty-before, short, long, removed, removed-after, sw=XXXX, sw-after=XXXX,
    /// pcsc=XXXXXXXX or pcsc-after=XXXXXXXX (values hexadecimal).
    /// \throws std::invalid_argument  that names what is wrong with the rule
    void Add(const std::string& strRule);

    /// Whether a rule asks for a PC/SC code, which only a plug on the caller's side can give.
    bool NeedsPcsc() const;

    /// Counts one APDU, and gives the fault that hits it, if any.
    std::optional<SFault> Next();

private:
    std::map<unsigned long, SFault> m_faults;
    unsigned long m_ulApdus = 0;
};

} // namespace vcard

#endif
