// SPDX-License-Identifier: Apache-2.0
//
// What every use of a secret has in common: the card is found and held to, its tries are asked and
// guarded before anybody types anything, the values are read and measured, and a failure is judged.

#ifndef TOOLS_PINDESK_ATTEMPT_H
#define TOOLS_PINDESK_ATTEMPT_H

#include "aftermath.h"
#include "key_file.h"
#include "options.h"
#include "readers.h"
#include "secret_input.h"
#include "source.h"

namespace tool {

/// The card that a run is about. Its serial number, where it has one, goes with every operation, so
/// that a card exchanged meanwhile is refused instead of being tried.
class CChosenCard {
public:
    explicit CChosenCard(const Options& options);

    long Slot() const { return m_reader.slot; }
    char* Serial() { return m_serial.empty() ? nullptr : m_serial.data(); }
    const Reader& InReader() const { return m_reader; }

private:
    Reader m_reader;
    std::string m_serial;
};

/// The tries of one secret, asked now.
/// \throws CFailure when the card cannot be reached.
Tries AskTries(const Reader& reader, const Secret& secret);

class CAttempt {
public:
    /// \param presented  the secret whose tries are at stake.
    /// \param doubt      what is not known when the answer to a change is lost; empty when nothing
    ///                   is to be changed.
    /// \throws CFailure when the card cannot be reached, or the secret is blocked, deactivated or
    ///         at its last try.
    CAttempt(const Options& options, const Secret& presented, std::string doubt);

    /// Reads a value and checks its length against the reported limits.
    void Read(const Secret& secret, CSecretInput& value) const;
    void ReadNew(const Secret& secret, CSecretInput& value) const;

    CChosenCard& Card() { return m_card; }
    unsigned char* SmKey() { return m_smKey.data(); }
    BOOL UseSecureMessaging() const { return m_isProtected ? 1 : 0; }

    /// \param done  the message of a success.
    Outcome Conclude(long code, const std::string& done, bool isChange = false) const;

private:
    void Guard(const Tries& tries) const;
    void Warn(const Tries& tries) const;

    const Options& m_options;
    const Secret& m_presented;
    std::string m_doubt;
    CSource m_source, m_newSource;
    CTdesKey m_smKey;
    bool m_isProtected;
    CChosenCard m_card;
    Tries m_before;
};

struct Limits {
    int min = 0, max = 0;
};

/// "6 to 8 characters", "8 characters".
std::string LengthText(const Limits& limits);

/// The lengths that the library reports, in the order of the secrets.
/// \param serial  16 characters, or null to ask no card.
std::array<Limits, SECRET_COUNT> ReportedLimits(long slot, char* serial);

} // namespace tool

#endif
