// SPDX-License-Identifier: Apache-2.0
//
// An unblocking has one end, however often it is done: the tries are full and the PIN is the new
// one. So it may be done once more where nothing else tells whether it was done.

#include "desk/steps.h"

#include "pindesk/steps.h"

namespace desk {

namespace {

EAnswer Unblock(CAttempt& attempt)
{
    const SRequest& request = attempt.Request();
    attempt.Protect();
    const EAnswer eAnswer =
        attempt.Note(pindesk::Unblock(attempt.Card(), SecretOf(request.eTarget),
                                      ValueOf(request.value), ValueOf(request.newValue)));
    attempt.Unprotect();
    return eAnswer;
}

/// The answer to the reset is lost; the PUK was right.
SResult FindOut(CAttempt& attempt)
{
    attempt.Report().in_force = PINDESK_IN_FORCE_UNKNOWN;
    SStates after;
    if (!attempt.ComeBack(after)) {
        return attempt.Told();
    }
    if (after.target.eState == PINDESK_STATE_BLOCKED) {
        attempt.Report().in_force = PINDESK_IN_FORCE_OLD;
        return attempt.NotDone();
    }
    const bool bWasBlocked = attempt.Before().target.eState == PINDESK_STATE_BLOCKED;
    if ((bWasBlocked && after.target.Told()) || Unblock(attempt) == EAnswer::ACCEPTED) {
        return attempt.Settled(PINDESK_IN_FORCE_NEW);
    }
    attempt.Report().tries_left = -1;
    return attempt.Conclude({PINDESK_OUTCOME_UNKNOWN, PINDESK_DETAIL_NOT_TOLD});
}

} // namespace

SResult UnblockSteps(CAttempt& attempt)
{
    const EAnswer eAnswer = Unblock(attempt);
    if (eAnswer == EAnswer::ACCEPTED) {
        return attempt.Settled(PINDESK_IN_FORCE_NEW);
    }
    if (AtFirstValue(attempt, attempt.Request().eSecret)) {
        return attempt.FirstFailed(eAnswer);
    }
    attempt.NoteVerified();
    return eAnswer == EAnswer::REFUSED ? attempt.NewValueRefused() : FindOut(attempt);
}

} // namespace desk
