// SPDX-License-Identifier: Apache-2.0
//
// Once the old value has been right, its tries are full: a new value can be tried to learn whether
// it is in force, and the old one brings the tries back.

#include "desk/steps.h"

#include "pindesk/steps.h"

namespace desk {

namespace {

constexpr int ENOUGH_TRIES = 2; // for a value that may be wrong

/// Presents a value on a card that came back. \return what its answer was worth.
EAnswer Try(CAttempt& attempt, const CValue& value)
{
    attempt.Protect();
    const pindesk::SOutcome outcome =
        pindesk::Verify(attempt.Card(), SecretOf(attempt.Request().eSecret), ValueOf(value));
    attempt.Unprotect();
    return AnswerOf(outcome.lAnswer);
}

/// The answer to the new value is lost.
SResult FindOut(CAttempt& attempt)
{
    const SRequest& request = attempt.Request();
    attempt.Report().in_force = PINDESK_IN_FORCE_UNKNOWN;
    SStates after;
    if (!attempt.ComeBack(after)) {
        return attempt.Told();
    }
    if (after.secret.iTries < ENOUGH_TRIES) {
        return attempt.Conclude({PINDESK_OUTCOME_UNKNOWN, after.secret.Told()
                                                              ? PINDESK_DETAIL_TOO_FEW_TRIES
                                                              : PINDESK_DETAIL_NOT_TOLD});
    }
    const EAnswer eNew = Try(attempt, request.newValue);
    if (eNew == EAnswer::ACCEPTED) {
        return attempt.Settled(PINDESK_IN_FORCE_NEW);
    }
    if (eNew == EAnswer::REJECTED && Try(attempt, request.value) == EAnswer::ACCEPTED) {
        attempt.NoteVerified();
        attempt.Report().in_force = PINDESK_IN_FORCE_OLD;
        return attempt.NotDone();
    }
    attempt.Report().tries_left = -1;
    return attempt.Conclude({PINDESK_OUTCOME_UNKNOWN, PINDESK_DETAIL_NOT_TOLD});
}

} // namespace

SResult ChangeSteps(CAttempt& attempt)
{
    const SRequest& request = attempt.Request();
    attempt.Protect();
    const EAnswer eAnswer =
        attempt.Note(pindesk::Change(attempt.Card(), SecretOf(request.eSecret),
                                     ValueOf(request.value), ValueOf(request.newValue)));
    if (eAnswer == EAnswer::ACCEPTED) {
        return attempt.Settled(PINDESK_IN_FORCE_NEW);
    }
    if (AtFirstValue(attempt, request.eSecret)) {
        return attempt.FirstFailed(eAnswer);
    }
    attempt.NoteVerified();
    return eAnswer == EAnswer::REFUSED ? attempt.NewValueRefused() : FindOut(attempt);
}

} // namespace desk
