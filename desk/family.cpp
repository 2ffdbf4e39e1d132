// SPDX-License-Identifier: Apache-2.0
//
// Cards of other families: their PUK is guarded and their answers are told apart as those of a
// national services card. A reset has one end, however often it is done, so that it may be done
// once more after a lost answer.

#include "desk/family.h"

#include "cardlib/cscardsetec43.h"
#include "desk/steps.h"
#include "pindesk/families.h"

namespace desk {

namespace {

const pindesk::SFamily& FamilyOf(pindesk_operation eOperation)
{
    return eOperation == PINDESK_OP_UNBLOCK_STARCOS ? pindesk::STARCOS : pindesk::M4_1111;
}

/// A session of the base's commands on the card of another session, within its transaction.
class CPlainSession {
public:
    explicit CPlainSession(CSCardZentaris34& holder)
        : m_pCard(new CSCardSetec43(holder.m_hContext, holder.m_wholeReaderName)), m_files(*m_pCard)
    {
        m_pCard->Attach(holder.m_hCard);
    }
    ~CPlainSession()
    {
        m_pCard->Detach();
        m_pCard->Release();
    }
    CPlainSession(const CPlainSession&) = delete;
    CPlainSession& operator=(const CPlainSession&) = delete;

    CSCard& Card() { return *m_pCard; }
    pindesk::CSelector& Files() { return m_files; }

private:
    CSCardSetec43* m_pCard;
    pindesk::CSelector m_files;
};

/// Resets the PINs one by one.
/// \param cDone  receives how many took the new value.
EAnswer ResetAll(CAttempt& attempt, std::size_t& cDone)
{
    const SRequest& request = attempt.Request();
    const pindesk::SFamily& family = FamilyOf(request.eOperation);
    const pindesk::CResetData data(family, ValueOf(request.value), ValueOf(request.newValue));
    CPlainSession plain(attempt.Card());
    for (cDone = 0; cDone < family.pins.size(); ++cDone) {
        const pindesk::SFamilyPin& pin = family.pins[cDone];
        long lAnswer = pindesk::GoToPin(plain.Files(), family, pin);
        if (lAnswer != 0) {
            return attempt.Note({lAnswer, plain.Files().LastResult()});
        }
        lAnswer = pindesk::ResetPin(plain.Card(), family, pin, data);
        const EAnswer eAnswer = attempt.Note(
            {lAnswer == 0 ? pindesk::result::OK : pindesk::result::READER_FAILED, lAnswer});
        if (eAnswer != EAnswer::ACCEPTED) {
            return eAnswer;
        }
    }
    return EAnswer::ACCEPTED;
}

SResult AllDone(CAttempt& attempt)
{
    pindesk_report& report = attempt.Report();
    attempt.NoteVerified();
    report.code = pindesk::result::OK;
    report.in_force = PINDESK_IN_FORCE_NEW;
    report.tries_left = -1;
    report.state = PINDESK_STATE_NOT_TOLD;
    return attempt.Conclude(DONE);
}

SResult FirstOnly(CAttempt& attempt)
{
    attempt.NoteVerified();
    attempt.Report().in_force = PINDESK_IN_FORCE_UNKNOWN;
    return attempt.Conclude({PINDESK_CARD_REFUSED, PINDESK_DETAIL_FIRST_PIN_ONLY},
                            PINDESK_NEXT_TRY_AGAIN);
}

} // namespace

bool IsFamily(pindesk_operation eOperation)
{
    return eOperation == PINDESK_OP_UNBLOCK_STARCOS || eOperation == PINDESK_OP_UNBLOCK_M4_1111;
}

SState AskFamily(CSession& session, pindesk_operation eOperation)
{
    const pindesk::SFamily& family = FamilyOf(eOperation);
    const pindesk::SFamilyPin& pin = family.pins.front();
    CPlainSession plain(session.Card());
    if (pindesk::GoToPin(plain.Files(), family, pin) != 0) {
        return Understand(plain.Files().LastResult());
    }
    const SState state = Understand(pindesk::AskForPuk(plain.Card(), pin));
    // its reference is only likely: a card that has no such secret does not tell
    return state.eState == PINDESK_STATE_ABSENT ? SState{.iSw = state.iSw} : state;
}

SResult FamilySteps(CAttempt& attempt)
{
    std::size_t cDone = 0;
    EAnswer eAnswer = ResetAll(attempt, cDone);
    if (eAnswer == EAnswer::LOST && attempt.Acted()) {
        attempt.Report().in_force = PINDESK_IN_FORCE_UNKNOWN;
        SStates after;
        if (!attempt.ComeBack(after)) {
            return attempt.Told();
        }
        if (after.secret.Told() && after.secret.iTries < attempt.Before().secret.iTries) {
            attempt.Report().in_force = PINDESK_IN_FORCE_OLD;
            return attempt.FirstFailed(eAnswer);
        }
        eAnswer = ResetAll(attempt, cDone);
    }
    if (eAnswer == EAnswer::ACCEPTED) {
        return AllDone(attempt);
    }
    if (cDone > 0) {
        return FirstOnly(attempt);
    }
    if (eAnswer == EAnswer::LOST && attempt.Acted()) { // a second time
        attempt.Report().in_force = PINDESK_IN_FORCE_UNKNOWN;
        return attempt.Conclude({PINDESK_OUTCOME_UNKNOWN, PINDESK_DETAIL_NOT_TOLD});
    }
    attempt.Report().in_force = PINDESK_IN_FORCE_OLD;
    return attempt.FirstFailed(eAnswer);
}

} // namespace desk
