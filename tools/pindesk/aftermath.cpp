// SPDX-License-Identifier: Apache-2.0
//
// A value counts as wrong only when the card took a try away, and a secret as blocked only when the
// card says so now. Whatever else went wrong after a secret was sent is an unknown outcome.

#include "aftermath.h"

#include "explain.h"
#include "pindesk/PinDesk.h"

namespace tool {

namespace {

const char* WhyNoAnswer(Contact contact)
{
    switch (contact) {
    case Contact::NoService:
        return "the PC/SC service died";
    case Contact::NoReader:
        return "the reader is gone";
    case Contact::NoCard:
        return "the card was removed";
    case Contact::InUse:
        return "another program holds the card now";
    case Contact::Mute:
        return "the card does not answer any more";
    case Contact::Answers:
        return "the reader failed";
    }
    return "";
}

Outcome Lost(const Deed& deed, Contact contact, long code)
{
    Outcome outcome;
    outcome.status = ExitStatus::OutcomeUnknown;
    outcome.code = code;
    outcome.message = std::string("The answer was lost: ") + WhyNoAnswer(contact) + ".";
    if (MeaningOf(code).stage != Stage::AtSecret && !deed.doubt.empty()) {
        outcome.message += " " + deed.doubt;
    } else {
        outcome.message += std::string(" Whether the ") + deed.secret.title +
                           " was right is not known; it may have cost a try." +
                           (deed.doubt.empty() ? "" : " Nothing was changed.");
    }
    outcome.advice = "When the card is back, see: pindesk status";
    return outcome;
}

Outcome With(const Tries& tries, Outcome outcome)
{
    outcome.triesLeft = tries.Number();
    outcome.statusWord = tries.statusWord;
    return outcome;
}

Outcome Wrong(const Secret& secret, const Tries& after, long code)
{
    Outcome outcome = ExplainedOutcome(code);
    const std::string title = std::string("The ") + secret.title;
    if (after.IsBlocked()) {
        outcome.status = ExitStatus::Blocked;
        outcome.message = title + " is wrong, and that was its last try: it is blocked now.";
        outcome.advice = secret.remedy;
        return outcome;
    }
    outcome.status = ExitStatus::WrongSecret;
    if (!after.IsTold()) {
        outcome.message = title + " was not accepted. The card does not tell how many tries are "
                                  "left.";
        outcome.advice = "Every wrong value costs a try: check it before you go on.";
        return outcome;
    }
    outcome.message = title + " is wrong: " + TriesText(after.left) + ".";
    outcome.advice = after.left == 1 ? "Another wrong value blocks it. Only with --use-last-try "
                                       "will pindesk send one."
                                     : "Check the value before another try.";
    return outcome;
}

// The card is as it was before: it did not judge the value.
Outcome Unjudged(const Deed& deed, const Tries& after, long code)
{
    Outcome outcome = ExplainedOutcome(code);
    if (deed.isProtected && deed.isChange) {
        outcome.status = ExitStatus::SecureMessagingRefused;
        outcome.message = "The card took no try away: it refused the secure messaging, or its "
                          "answer was lost. Nothing was changed.";
        outcome.advice = MeaningOf(result::SECURE_MESSAGING).advice;
        return outcome;
    }
    outcome.status = ExitStatus::OutcomeUnknown;
    outcome.message = "The answer was lost, or the card refused the command; no try was spent.";
    if (after.state == Tries::State::AlreadyVerified) {
        outcome.message +=
            std::string(" The card counts the ") + deed.secret.title + " as verified.";
    }
    outcome.advice = "Try again.";
    return outcome;
}

Outcome Deactivated(const Secret& secret, long code)
{
    Outcome outcome = ExplainedOutcome(code);
    outcome.status = ExitStatus::CardRefused;
    outcome.message = std::string("The ") + secret.title + " is deactivated.";
    outcome.advice = "Bring it back with the DS PUK: pindesk reactivate";
    return outcome;
}

Outcome JudgeAtSecret(const Deed& deed, const Tries& after, long code)
{
    using State = Tries::State;
    if (after.state == State::Deactivated) {
        return Deactivated(deed.secret, code);
    }
    const bool wasTold = deed.before.IsTold();
    const bool hasLostATry = after.IsTold() && (!wasTold || after.left < deed.before.left);
    const bool neverTells = !wasTold && after.state == State::Untold;
    if (hasLostATry || neverTells) {
        return Wrong(deed.secret, after, code);
    }
    return after.state == State::Untold ? Lost(deed, Contact::Answers, code)
                                        : Unjudged(deed, after, code);
}

Outcome JudgeUnsent(const Deed& deed, long code)
{
    const ExitStatus status = MeaningOf(code).status;
    if (status == ExitStatus::Refused || status == ExitStatus::OtherCard) {
        return ExplainedOutcome(code);
    }
    const Contact contact = ContactWith(deed.reader);
    return contact == Contact::Answers ? ExplainedOutcome(code)
                                       : ContactOutcome(contact, deed.reader, code);
}

// The old value was right just now. While the card still counts it as verified, nothing shows that
// the new one arrived; once it does not, the new one may have been taken, or the card was reset.
Outcome JudgeAtNewValue(const Deed& deed, const Tries& after, long code)
{
    if (after.state != Tries::State::AlreadyVerified) {
        return Lost(deed, Contact::Answers, code);
    }
    Outcome outcome = ExplainedOutcome(code);
    outcome.advice =
        std::string("To make sure which value is in force: pindesk verify ") + deed.secret.word;
    return outcome;
}

bool IsBlockedNow(const Deed& deed, const Tries& after, long code)
{
    return code == deed.secret.blockedCode && after.IsBlocked();
}

Outcome JudgeStage(const Deed& deed, const Tries& after, long code)
{
    switch (MeaningOf(code).stage) {
    case Stage::AtSecret:
        return With(after, JudgeAtSecret(deed, after, code));
    case Stage::AtBlocked:
        return IsBlockedNow(deed, after, code) ? With(after, ExplainedOutcome(code))
                                               : Lost(deed, Contact::Answers, code);
    case Stage::AtNewValue:
        return JudgeAtNewValue(deed, after, code);
    case Stage::NothingSent:
    case Stage::AfterSecret:
    case Stage::AtProtection:
        break;
    }
    return ExplainedOutcome(code);
}

} // namespace

Outcome Judge(const Deed& deed, long code)
{
    if (MeaningOf(code).stage == Stage::NothingSent) {
        return JudgeUnsent(deed, code);
    }
    CCardQuery card(deed.reader);
    if (card.State() != Contact::Answers) {
        return Lost(deed, card.State(), code);
    }
    const Tries after = card.Ask(deed.secret);
    if (after.state == Tries::State::Lost) {
        return Lost(deed, card.WhySilent(), code);
    }
    return JudgeStage(deed, after, code);
}

} // namespace tool
