// SPDX-License-Identifier: Apache-2.0

#include "desk/steps.h"

#include "pindesk/steps.h"

namespace desk {

SResult VerifySteps(CAttempt& attempt)
{
    const SRequest& request = attempt.Request();
    attempt.Protect();
    const EAnswer eAnswer = attempt.Note(
        pindesk::Verify(attempt.Card(), SecretOf(request.eSecret), ValueOf(request.value)));
    SResult result;
    if (eAnswer != EAnswer::ACCEPTED && attempt.Judge(eAnswer, result) != EVerdict::RIGHT) {
        return result;
    }
    attempt.NoteVerified();
    attempt.Report().code = pindesk::result::OK;
    attempt.Report().state = PINDESK_STATE_READY;
    attempt.Report().tries_left = -1; // full again, but how many that are the card does not tell
    return attempt.Conclude(DONE);
}

} // namespace desk
