// SPDX-License-Identifier: Apache-2.0

#include "desk/attempt.h"

#include "desk/family.h"
#include "pindesk/steps.h"

namespace desk {

namespace {

pindesk_next NextOfBlocked(pindesk_secret eSecret)
{
    switch (eSecret) {
    case PINDESK_CNS_PIN:
        return PINDESK_NEXT_UNBLOCK_CNS;
    case PINDESK_DS_PIN:
        return PINDESK_NEXT_UNBLOCK_DS;
    default:
        return PINDESK_NEXT_REPLACE_CARD;
    }
}

/// What makes sense after a refusal that came from what the card said.
pindesk_next NextOf(pindesk_detail eDetail, pindesk_secret eSecret)
{
    switch (eDetail) {
    case PINDESK_DETAIL_BLOCKED_BEFORE:
    case PINDESK_DETAIL_BLOCKED_NOW:
        return NextOfBlocked(eSecret);
    case PINDESK_DETAIL_BOTH_BLOCKED:
        return PINDESK_NEXT_REPLACE_CARD;
    case PINDESK_DETAIL_LAST_TRY:
        return PINDESK_NEXT_ALLOW_LAST_TRY;
    case PINDESK_DETAIL_DEACTIVATED:
    case PINDESK_DETAIL_DEACTIVATED_ALREADY:
        return eSecret == PINDESK_DS_PIN || eSecret == PINDESK_DS_PUK ? PINDESK_NEXT_REACTIVATE
                                                                      : PINDESK_NEXT_NOTHING;
    case PINDESK_DETAIL_WRONG_SM_KEY:
        return PINDESK_NEXT_GIVE_SM_KEY;
    case PINDESK_DETAIL_SM_REQUIRED:
        return PINDESK_NEXT_USE_SM;
    case PINDESK_DETAIL_ABSENT:
        return PINDESK_NEXT_IDENTIFY;
    default:
        return PINDESK_NEXT_NOTHING;
    }
}

/// Whether an answer speaks of secure messaging: objects missing, objects wrong, or bad data.
bool IsSmError(long lAnswer)
{
    return lAnswer == sw::SM_OBJECTS_MISSING || lAnswer == sw::SM_OBJECTS_WRONG ||
           lAnswer == sw::WRONG_DATA;
}

bool AsksForTarget(pindesk_operation eOperation)
{
    return eOperation == PINDESK_OP_UNBLOCK || eOperation == PINDESK_OP_LOCK ||
           eOperation == PINDESK_OP_REACTIVATE;
}

} // namespace

CAttempt::CAttempt(CCall& call) : m_call(call), m_search(call, m_service) {}

SResult CAttempt::Ask(SStates& states)
{
    const SRequest& request = Request();
    const bool bTarget = AsksForTarget(request.eOperation);
    const bool bSecret = request.eOperation != PINDESK_OP_LOCK;
    if (bTarget) {
        states.target = desk::Ask(*m_session, request.eTarget);
    }
    if (IsFamily(request.eOperation)) {
        states.secret = AskFamily(*m_session, request.eOperation);
    } else {
        states.secret = bSecret ? desk::Ask(*m_session, request.eSecret) : states.target;
    }
    if (!bTarget) {
        states.target = states.secret;
    }
    if (states.secret.Answered() && states.target.Answered()) {
        return DONE;
    }
    const SResult silent = m_session->WhySilent();
    return silent.Done() ? READER_FAILED : silent;
}

/// Refuses what the card's own words forbid; a PIN and a PUK that are both blocked are named so.
SResult CAttempt::Refuse(SResult refused)
{
    const pindesk_secret eSecret = Request().eSecret;
    const STitle& title = TitleOf(eSecret);
    if (refused.eDetail == PINDESK_DETAIL_BLOCKED_BEFORE && IsCnsSecret(eSecret)) {
        const SState other = title.bPuk && AsksForTarget(Request().eOperation)
                                 ? m_before.target
                                 : desk::Ask(*m_session, title.ePartner);
        if (other.eState == PINDESK_STATE_BLOCKED) {
            refused.eDetail = PINDESK_DETAIL_BOTH_BLOCKED;
        }
    }
    Report().status_word = m_before.secret.iSw;
    return Conclude(refused);
}

SResult CAttempt::Prepare()
{
    SResult result = m_search.Hold(m_session);
    if (!result.Done()) {
        return result;
    }
    if (!m_identity) {
        m_search.HoldTo(m_identity.emplace(m_session->Identity()));
    }
    result = Ask(m_before);
    if (!result.Done()) {
        return result;
    }
    Report().tries_before = Report().tries_left = m_before.secret.iTries;
    Report().state = m_before.target.eState;
    result = CheckStates(Request(), m_before);
    return result.Done() ? result : Refuse(result);
}

/// No secret has left: the card or the reader failed before, or the card refused what comes before.
SResult CAttempt::NothingSent()
{
    const SResult silent = m_session->WhySilent();
    if (!silent.Done()) {
        return silent;
    }
    if (AnswerOf(m_lAnswer) != EAnswer::REFUSED) {
        return READER_FAILED;
    }
    const bool bLock = Request().eOperation == PINDESK_OP_LOCK;
    return Conclude(bLock ? SResult{PINDESK_CARD_REFUSED, PINDESK_DETAIL_COMMAND_REFUSED}
                          : SResult{PINDESK_SECURE_MESSAGING_REFUSED, PINDESK_DETAIL_WRONG_SM_KEY});
}

SResult CAttempt::Once(Steps steps)
{
    SResult result = Prepare();
    if (!result.Done() || steps == nullptr) {
        return result;
    }
    if (!m_call.Commit()) {
        return CANCELLED;
    }
    try {
        return steps(*this);
    } catch (const std::bad_alloc&) {
        if (!m_bActed) {
            throw;
        }
        return Conclude({PINDESK_OUTCOME_UNKNOWN, PINDESK_DETAIL_NO_MEMORY});
    }
}

bool CAttempt::MayStartAgain(SResult result)
{
    if (m_bActed) {
        return false;
    }
    m_call.Withdraw();
    if (result == RESET && !m_bStartedAgain) {
        m_bStartedAgain = true;
        Report().notes |= PINDESK_NOTE_STARTED_AGAIN;
        return m_call.GoOn();
    }
    const bool bWasThere = m_session != nullptr && result.eOutcome == PINDESK_NO_CARD;
    return bWasThere && m_search.MayStillCome(result);
}

void CAttempt::Run(Steps steps)
{
    SResult result;
    do {
        result = Once(steps);
    } while (!result.Done() && MayStartAgain(result));
    if (result != Told()) {
        m_call.Tell(result);
    }
    LeaveBehind();
}

void CAttempt::LeaveBehind()
{
    if (m_session == nullptr) {
        return;
    }
    if (m_session->Dialogue().AdminKeyBlocked()) {
        Report().notes |= PINDESK_NOTE_ADMIN_KEY_BLOCKED;
    }
    const bool bWasVerified = m_before.secret.eState == PINDESK_STATE_VERIFIED;
    if (m_bVerified && (bWasVerified || Request().Wants(PINDESK_KEEP_VERIFIED))) {
        Report().notes |= PINDESK_NOTE_LEFT_VERIFIED;
        Report().state =
            Request().eSecret == Request().eTarget ? PINDESK_STATE_VERIFIED : Report().state;
    } else if (m_bVerified) {
        m_session->ResetAtTheEnd();
    }
    m_session.reset();
}

void CAttempt::Protect()
{
    const SRequest& request = Request();
    const bool bProtect =
        IsSignature(request.eSecret) && !request.Wants(PINDESK_NO_SECURE_MESSAGING);
    const pindesk::SProtection protection{request.smKey.data(), static_cast<BOOL>(bProtect)};
    pindesk::PrepareSecureMessaging(Card(), protection,
                                    request.eOperation == PINDESK_OP_CHANGE
                                        ? ins::CHANGE_REFERENCE_DATA
                                        : ins::RESET_RETRY_COUNTER);
    pindesk::SwitchSecureMessaging(Card(), protection);
}

void CAttempt::Unprotect()
{
    Card().SetSMxCMode(0, nullptr, nullptr, nullptr, 0);
}

EAnswer CAttempt::Note(const pindesk::SOutcome& outcome)
{
    m_bActed |= m_session->Dialogue().Acted();
    m_lAnswer = outcome.lAnswer;
    Report().code = static_cast<std::int32_t>(outcome.lResult);
    const EAnswer eAnswer = AnswerOf(outcome.lAnswer);
    const bool bSaid = eAnswer != EAnswer::LOST;
    Report().status_word =
        bSaid ? static_cast<std::int32_t>(outcome.lAnswer == 0 ? sw::SUCCESS : outcome.lAnswer)
              : -1;
    return eAnswer;
}

bool CAttempt::AskAfterwards(SStates& after)
{
    Unprotect();
    const bool bAnswered = m_session->WhySilent().Done() && Ask(after).Done();
    if (!bAnswered && !ComeBack(after)) {
        return false;
    }
    Report().state = after.target.eState;
    Report().tries_left = after.secret.iTries;
    return true;
}

bool CAttempt::ComeBack(SStates& after)
{
    Report().notes |= PINDESK_NOTE_ANSWER_LOST;
    Report().tries_left = -1;
    Report().state = PINDESK_STATE_NOT_TOLD;
    Conclude({PINDESK_OUTCOME_UNKNOWN, PINDESK_DETAIL_NOT_BACK});
    m_call.Recover();
    m_session->ResetAtTheEnd();
    m_session.reset();
    m_bVerified = false;
    const SResult result = CSearch(m_call, m_service, *m_identity).Hold(m_session);
    if (!result.Done()) {
        m_session.reset();
        const bool bOther = result.eOutcome == PINDESK_OTHER_CARD;
        Conclude({PINDESK_OUTCOME_UNKNOWN,
                  bOther ? PINDESK_DETAIL_OTHER_CAME : PINDESK_DETAIL_NOT_BACK});
        return false;
    }
    if (!m_call.Commit() || !Ask(after).Done()) {
        return false;
    }
    Report().state = after.target.eState;
    Report().tries_left = after.secret.iTries;
    return true;
}

SResult CAttempt::Conclude(SResult result)
{
    m_call.Tell(result);
    const pindesk_next eNext = NextOf(result.eDetail, Request().eSecret);
    Report().next = eNext != PINDESK_NEXT_NOTHING ? eNext : Report().next;
    if (result.eOutcome == PINDESK_OUTCOME_UNKNOWN) {
        Report().next = Report().in_force == PINDESK_IN_FORCE_UNKNOWN ? PINDESK_NEXT_TRY_NEW_FIRST
                                                                      : PINDESK_NEXT_SEE_STATUS;
    }
    return result;
}

SResult CAttempt::Conclude(SResult result, pindesk_next eNext)
{
    m_call.Tell(result);
    Report().next = eNext;
    return result;
}

EVerdict CAttempt::Judge(EAnswer eAnswer, SResult& result)
{
    if (!m_bActed) {
        result = NothingSent();
        return EVerdict::NOT_JUDGED;
    }
    SStates after;
    if (!AskAfterwards(after)) {
        result = Told();
        return EVerdict::UNKNOWN;
    }
    const EVerdict eVerdict = VerdictOf(eAnswer, m_before.secret, after.secret);
    const bool bSignature = IsSignature(Request().eSecret);
    const bool bBlocked = after.secret.eState == PINDESK_STATE_BLOCKED;
    if (eVerdict == EVerdict::WRONG && bBlocked) {
        result = Conclude({PINDESK_BLOCKED, PINDESK_DETAIL_BLOCKED_NOW});
    } else if (eVerdict == EVerdict::WRONG) {
        result = Conclude({PINDESK_WRONG_SECRET, PINDESK_DETAIL_NONE}, PINDESK_NEXT_CHECK_VALUE);
    } else if (eVerdict == EVerdict::NOT_JUDGED && bSignature && IsSmError(m_lAnswer)) {
        result = ProtectionRefused();
    } else if (eVerdict == EVerdict::NOT_JUDGED) {
        result = Conclude({PINDESK_CARD_REFUSED, PINDESK_DETAIL_COMMAND_REFUSED},
                          PINDESK_NEXT_TRY_AGAIN);
    } else if (eVerdict == EVerdict::UNKNOWN) {
        result = Conclude({PINDESK_OUTCOME_UNKNOWN, PINDESK_DETAIL_NOT_TOLD},
                          after.secret.Told() ? PINDESK_NEXT_TRY_AGAIN : PINDESK_NEXT_SEE_STATUS);
    }
    return eVerdict;
}

SResult CAttempt::NotDone()
{
    Report().notes |= PINDESK_NOTE_ANSWER_LOST;
    return Conclude(READER_FAILED, PINDESK_NEXT_TRY_AGAIN);
}

SResult CAttempt::Settled(pindesk_in_force eInForce)
{
    NoteVerified();
    Report().code = pindesk::result::OK;
    Report().in_force = eInForce;
    Report().state = PINDESK_STATE_READY;
    Report().tries_left = -1;
    return Conclude(DONE);
}

SResult CAttempt::ProtectionRefused()
{
    const bool bForbidden = Request().Wants(PINDESK_NO_SECURE_MESSAGING);
    Report().code = pindesk::result::SECURE_MESSAGING;
    return Conclude({PINDESK_SECURE_MESSAGING_REFUSED,
                     bForbidden ? PINDESK_DETAIL_SM_REQUIRED : PINDESK_DETAIL_WRONG_SM_KEY});
}

SResult CAttempt::NewValueRefused()
{
    if (IsSignature(Request().eSecret) && IsSmError(m_lAnswer)) {
        return ProtectionRefused();
    }
    return Conclude({PINDESK_CARD_REFUSED, PINDESK_DETAIL_NEW_VALUE_REFUSED},
                    PINDESK_NEXT_CHOOSE_VALUE);
}

SResult CAttempt::FirstFailed(EAnswer eAnswer)
{
    SResult result;
    const EVerdict eVerdict = Judge(eAnswer, result);
    m_bVerified |= eVerdict == EVerdict::RIGHT;
    const bool bNoTryGone = eVerdict == EVerdict::UNKNOWN && Report().tries_left >= 0;
    return eVerdict == EVerdict::RIGHT || bNoTryGone ? NotDone() : result;
}

} // namespace desk
