// SPDX-License-Identifier: Apache-2.0
//
// An operation on the secrets of a card, from finding the card to knowing what became of it.
// Internal.

#ifndef DESK_ATTEMPT_H
#define DESK_ATTEMPT_H

#include "desk/guards.h"
#include "desk/readers.h"
#include "pindesk/answers.h"

namespace desk {

/// What a card's answer to a command with a secret is worth.
enum class EAnswer {
    ACCEPTED,
    REJECTED, ///< the value was judged and is wrong, says the card
    REFUSED,  ///< the card says something else: the value was not judged
    LOST,     ///< no answer, or one that may mean anything
};
EAnswer AnswerOf(long lAnswer);

/// What has become of a presented value.
enum class EVerdict { RIGHT, WRONG, NOT_JUDGED, UNKNOWN };
/// By the answer, and by what the card said of the secret's tries before and after.
EVerdict VerdictOf(EAnswer eAnswer, const SState& before, const SState& after);

/// One operation on one card. The steps in between belong to the operation.
class CAttempt {
public:
    explicit CAttempt(CCall& call);

    /// What an operation does once nothing speaks against it; it fills in the report.
    using Steps = SResult (*)(CAttempt& attempt);
    /// Finds the card, asks for its secrets, refuses what must be, takes the steps (null: none),
    /// and leaves the card as it was. Starts again once if another program's reset comes before a
    /// secret has left, and goes on waiting for a card that has gone by then.
    void Run(Steps steps);

    // ---- for the steps ----

    const SRequest& Request() const { return m_call.Request(); }
    pindesk_report& Report() { return m_call.report; }
    CSCardZentaris34& Card() { return m_session->Card(); }
    /// Whether a secret, or a command that changes the card, has left.
    bool Acted() const { return m_bActed; }
    /// Whether the card has been reset since the operation began.
    bool CameBack() const { return (m_call.report.notes & PINDESK_NOTE_ANSWER_LOST) != 0; }
    /// What the report says now.
    SResult Told() const { return {m_call.report.outcome, m_call.report.detail}; }
    long Code() const { return m_call.report.code; }
    const SStates& Before() const { return m_before; }

    /// Switches secure messaging on for the commands of the signature application, if the call
    /// does not forbid it.
    void Protect();
    /// The end of secure messaging.
    void Unprotect();
    /// Notes what a command came to. \return the worth of its answer.
    EAnswer Note(const pindesk::SOutcome& outcome);
    /// A value was accepted: the card is verified, until it is reset.
    void NoteVerified() { m_bVerified = true; }

    /// Asks again, on the session that is open or, if that has ended, on the same card once it is
    /// back; the caller waits no longer than agreed.
    /// \return whether the card could be asked.
    bool AskAfterwards(SStates& after);
    /// Comes back to the card, freshly reset, and asks for its secrets.
    bool ComeBack(SStates& after);

    /// Finds out what has become of the first value of an operation, which was not accepted; nothing
    /// that follows it has left.
    SResult FirstFailed(EAnswer eAnswer);
    /// Contact was lost, and the card says that what was asked for is not done.
    SResult NotDone();
    /// Done: the secret is ready for use, and this is its value.
    SResult Settled(pindesk_in_force eInForce);
    /// The card refused the new value, or the secure messaging around it; the old one is in force.
    SResult NewValueRefused();
    SResult ProtectionRefused();

    /// Writes a result into the report, with what makes sense after it.
    SResult Conclude(SResult result);
    SResult Conclude(SResult result, pindesk_next eNext);
    /// Finds out what has become of a presented value that was not accepted.
    /// \return the verdict; RIGHT leaves the report to the steps, the others conclude it.
    EVerdict Judge(EAnswer eAnswer, SResult& result);

private:
    SResult Prepare();
    SResult Ask(SStates& states);
    SResult Refuse(SResult refused);
    SResult NothingSent();
    SResult Once(Steps steps);
    void LeaveBehind();
    bool MayStartAgain(SResult result);

    CCall& m_call;
    CService m_service;
    CSearch m_search;
    std::unique_ptr<CSession> m_session;
    std::optional<SIdentity> m_identity;
    SStates m_before;
    long m_lAnswer = 0;       ///< the one noted last
    bool m_bVerified = false; ///< something, in this session
    bool m_bActed = false;    ///< a secret, or a command that changes the card, has left
    bool m_bStartedAgain = false;
};

} // namespace desk

#endif
