// SPDX-License-Identifier: Apache-2.0
//
// Taking the signature PIN out of use and bringing it back. Both can be asked about: a PIN is
// deactivated, or it is not.

#include "desk/steps.h"

#include "pindesk/steps.h"

namespace desk {

namespace {

SResult Locked(CAttempt& attempt, bool bKey)
{
    if (bKey) {
        pindesk::BlockAdminKey(attempt.Card());
    }
    pindesk::TightenAccess(attempt.Card());
    attempt.Report().code = pindesk::result::OK;
    attempt.Report().state = PINDESK_STATE_DEACTIVATED;
    return attempt.Conclude(DONE);
}

/// Whether the card knows that its PUK was presented. One that came back has forgotten it; the PUK
/// was right a moment ago.
bool HasPuk(CAttempt& attempt)
{
    if (!attempt.CameBack()) {
        return true;
    }
    attempt.Protect();
    const pindesk::SOutcome outcome =
        pindesk::Verify(attempt.Card(), pindesk::DS_PUK, ValueOf(attempt.Request().value));
    attempt.Unprotect();
    return outcome.lResult == pindesk::result::OK;
}

SResult Reactivated(CAttempt& attempt, bool bNewPin)
{
    if (bNewPin || HasPuk(attempt)) { // without it the card would refuse, and lose its key for that
        pindesk::RewriteSignaturePin(attempt.Card());
    }
    return attempt.Settled(bNewPin ? PINDESK_IN_FORCE_NEW : PINDESK_IN_FORCE_OLD);
}

/// The PIN is active again, but what became of its new value is not known.
SResult SetAgain(CAttempt& attempt)
{
    const SRequest& request = attempt.Request();
    attempt.Report().in_force = PINDESK_IN_FORCE_UNKNOWN;
    attempt.Protect();
    const EAnswer eAnswer = attempt.Note(pindesk::Unblock(
        attempt.Card(), pindesk::DS_PIN, ValueOf(request.value), ValueOf(request.newValue)));
    attempt.Unprotect();
    return eAnswer == EAnswer::ACCEPTED
               ? Reactivated(attempt, true)
               : attempt.Conclude({PINDESK_OUTCOME_UNKNOWN, PINDESK_DETAIL_NOT_TOLD});
}

/// The PUK was right, and the card refused what followed or its answer is lost.
SResult AfterPuk(CAttempt& attempt, EAnswer eAnswer)
{
    const bool bNewPin = attempt.Request().newValue.size() != 0;
    const long lCode = attempt.Code();
    SStates after;
    attempt.Report().in_force = bNewPin ? PINDESK_IN_FORCE_UNKNOWN : PINDESK_IN_FORCE_OLD;
    if (!attempt.AskAfterwards(after)) {
        return attempt.Told();
    }
    attempt.Report().in_force = PINDESK_IN_FORCE_OLD;
    const bool bActive = after.target.eState != PINDESK_STATE_DEACTIVATED;
    if (bActive && !bNewPin) {
        return Reactivated(attempt, false);
    }
    if (bActive && eAnswer == EAnswer::REFUSED) {
        return attempt.NewValueRefused();
    }
    if (bActive) {
        return SetAgain(attempt);
    }
    if (lCode == pindesk::result::SECURE_MESSAGING) {
        return attempt.ProtectionRefused();
    }
    return eAnswer == EAnswer::REFUSED
               ? attempt.Conclude({PINDESK_CARD_REFUSED, PINDESK_DETAIL_REACTIVATION_REFUSED})
               : attempt.NotDone();
}

} // namespace

SResult LockSteps(CAttempt& attempt)
{
    const SRequest& request = attempt.Request();
    const unsigned char* const pKey =
        pindesk::ChooseKey(request.adminKey.data(), request.Wants(PINDESK_USE_ADMIN_KEY));
    const EAnswer eAnswer = attempt.Note(pindesk::Deactivate(attempt.Card(), pKey));
    const bool bKey = pKey != nullptr;
    if (eAnswer == EAnswer::ACCEPTED) {
        return Locked(attempt, bKey);
    }
    if (!attempt.Acted()) {
        return attempt.FirstFailed(eAnswer);
    }
    const bool bKeyRefused = attempt.Code() == pindesk::result::ADMIN_KEY_REFUSED;
    SStates after;
    if (!attempt.AskAfterwards(after)) {
        return attempt.Told();
    }
    if (after.target.eState == PINDESK_STATE_DEACTIVATED) {
        return Locked(attempt, bKey);
    }
    if (eAnswer == EAnswer::LOST) {
        return attempt.NotDone();
    }
    return attempt.Conclude({PINDESK_CARD_REFUSED, bKeyRefused
                                                       ? PINDESK_DETAIL_ADMIN_KEY_REFUSED
                                                       : PINDESK_DETAIL_DEACTIVATION_REFUSED},
                            PINDESK_NEXT_GIVE_ADMIN_KEY);
}

SResult ReactivateSteps(CAttempt& attempt)
{
    const SRequest& request = attempt.Request();
    attempt.Protect();
    const EAnswer eAnswer = attempt.Note(
        pindesk::Reactivate(attempt.Card(), ValueOf(request.value), ValueOf(request.newValue)));
    if (eAnswer == EAnswer::ACCEPTED) {
        return Reactivated(attempt, request.newValue.size() != 0);
    }
    if (AtFirstValue(attempt, PINDESK_DS_PUK)) {
        return attempt.FirstFailed(eAnswer);
    }
    return AfterPuk(attempt, eAnswer);
}

} // namespace desk
