// SPDX-License-Identifier: Apache-2.0
//
// A value counts as wrong only where the card took a try away, and as right only where the card
// says so now; an answer alone decides where the card tells no tries.

#include "cardlib/sessions/iso7816.h"
#include "desk/attempt.h"

namespace desk {

namespace {

constexpr long WRONG_VALUE = 0x63, MAX_SW = 0xFFFF;

/// First bytes of status words with which a card says that it has not done anything. 6C and 6F are
/// none: sessions use them for answers that were damaged on their way.
bool SaysNothingDone(long lSw1)
{
    return lSw1 == 0x64 || (lSw1 >= 0x67 && lSw1 <= 0x6B) || lSw1 == 0x6D || lSw1 == 0x6E;
}

enum ERelation { NOT_COMPARABLE, FEWER, SAME, MORE, BLOCKED_NOW, VERIFIED_NOW };

ERelation Compare(const SState& before, const SState& after)
{
    if (after.eState == PINDESK_STATE_BLOCKED) {
        return BLOCKED_NOW;
    }
    if (after.eState == PINDESK_STATE_VERIFIED) {
        return before.eState == PINDESK_STATE_VERIFIED ? NOT_COMPARABLE : VERIFIED_NOW;
    }
    if (!before.Told() || !after.Told()) {
        return NOT_COMPARABLE;
    }
    if (before.iTries == after.iTries) {
        return SAME;
    }
    return after.iTries < before.iTries ? FEWER : MORE;
}

using enum EVerdict;
// Columns: the answer was ACCEPTED, REJECTED, REFUSED, LOST.
constexpr EVerdict VERDICTS[][4] = {
    /* NOT_COMPARABLE */ {RIGHT, WRONG, NOT_JUDGED, UNKNOWN},
    /* FEWER          */ {WRONG, WRONG, WRONG, WRONG},
    /* SAME           */ {RIGHT, NOT_JUDGED, NOT_JUDGED, UNKNOWN},
    /* MORE           */ {RIGHT, RIGHT, RIGHT, RIGHT},
    /* BLOCKED_NOW    */ {WRONG, WRONG, WRONG, WRONG},
    /* VERIFIED_NOW   */ {RIGHT, RIGHT, RIGHT, RIGHT},
};

} // namespace

EAnswer AnswerOf(long lAnswer)
{
    if (lAnswer == 0) {
        return EAnswer::ACCEPTED;
    }
    if (lAnswer < 0 || lAnswer > MAX_SW) {
        return EAnswer::LOST;
    }
    if (lAnswer >> 8 == WRONG_VALUE || lAnswer == sw::AUTH_BLOCKED) {
        return EAnswer::REJECTED;
    }
    return SaysNothingDone(lAnswer >> 8) ? EAnswer::REFUSED : EAnswer::LOST;
}

EVerdict VerdictOf(EAnswer eAnswer, const SState& before, const SState& after)
{
    return VERDICTS[Compare(before, after)][static_cast<int>(eAnswer)];
}

} // namespace desk
