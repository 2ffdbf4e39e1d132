// SPDX-License-Identifier: Apache-2.0
//
// The verbs that take the signature PIN out of use and bring it back: lock, reactivate.

#include "attempt.h"
#include "pindesk/PinDesk.h"
#include "report.h"
#include "terminal.h"
#include "verbs.h"

#include <unistd.h>

namespace tool {

namespace {

constexpr const char* CONFIRMATION = "lock";

std::string Consequences(bool hasAdminKey)
{
    std::string text = "This deactivates the signature PIN: nothing can be signed with this card "
                       "until pindesk reactivate, which needs the DS PUK.\nThe access conditions "
                       "of the card are tightened for good.\n";
    if (hasAdminKey) {
        text += "The administration key is blocked for good.\n";
    }
    return text;
}

void Confirm(const Options& options)
{
    if (options.isConfirmed) {
        return;
    }
    const std::string question =
        Consequences(!options.adminKeyFile.empty()) + "Type " + CONFIRMATION + " to go on: ";
    CSecretInput answer;
    const LineEnd end = isatty(STDIN_FILENO) != 0 ? AskAtTerminal(question, Echo::On, answer)
                                                  : ReadLine(STDIN_FILENO, answer);
    if (end != LineEnd::Complete || !answer.Equals(CONFIRMATION)) {
        throw CFailure(ExitStatus::Refused,
                       "Not confirmed: the word lock was not typed. Nothing was sent to the card.",
                       "In scripts: --yes.");
    }
}

} // namespace

Outcome LockSignature(const Options& options)
{
    CTdesKey adminKey(options.adminKeyFile);
    CChosenCard card(options);
    const Tries before = AskTries(card.InReader(), DsPin());
    if (before.state == Tries::State::Deactivated) {
        Note(options, "The signature PIN is deactivated already.");
    }
    Confirm(options);
    const BOOL useAdminKey = adminKey.data() != nullptr ? 1 : 0;
    const long code = DS_LockPin(card.Slot(), card.Serial(), adminKey.data(), useAdminKey);
    if (code != result::OK) {
        return Judge({card.InReader().name, DsPin(), before, false, false,
                      "Whether the signature PIN is deactivated is not known."},
                     code);
    }
    Outcome outcome;
    outcome.message = "The signature PIN is deactivated. The DS PUK brings it back: pindesk "
                      "reactivate";
    outcome.code = code;
    return outcome;
}

Outcome ReactivateSignature(const Options& options)
{
    CAttempt attempt(options, DsPuk(), "Whether the signature PIN is active again is not known.");
    CSecretInput puk;
    CSecretInput pin;
    attempt.Read(DsPuk(), puk);
    const bool setsPin = !options.newFrom.empty();
    if (setsPin) {
        attempt.ReadNew(DsPin(), pin);
    }
    const long code = DS_ReactivatePin(
        attempt.Card().Slot(), attempt.Card().Serial(), puk.data(), static_cast<long>(puk.size()),
        setsPin ? pin.data() : nullptr, static_cast<long>(pin.size()), nullptr, 0, attempt.SmKey(),
        attempt.UseSecureMessaging());
    return attempt.Conclude(code, setsPin ? "The signature PIN is active again and has its new "
                                            "value."
                                          : "The signature PIN is active again, with the value it "
                                            "had.");
}

} // namespace tool
