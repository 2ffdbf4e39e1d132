// SPDX-License-Identifier: Apache-2.0
//
// Everything that can be refused is refused before a secret is asked for, and everything that was
// asked for is measured before a secret is sent.

#include "attempt.h"

#include "explain.h"
#include "pindesk/PinDesk.h"
#include "report.h"

namespace tool {

namespace {

const std::string& SourceOf(const Options& options, const Secret& secret)
{
    return secret.isPuk ? options.pukFrom : options.pinFrom;
}

void ReadChecked(const CSource& source, const Secret& secret, bool isNew, CSecretInput& value)
{
    const Limits limits = ReportedLimits(1, nullptr)[secret.position];
    const std::string title = std::string(isNew ? "new " : "") + secret.title;
    source.Read({title, LengthText(limits), isNew}, value);
    const auto length = static_cast<int>(value.size());
    if (length < limits.min || length > limits.max) {
        throw CFailure(ExitStatus::Refused, "A " + std::string(secret.title) + " has " +
                                                LengthText(limits) +
                                                ". Nothing was sent to the card.");
    }
}

void CheckSources(const Options& options, const Secret& presented)
{
    const std::string& other = presented.isPuk ? options.pinFrom : options.pukFrom;
    if (!other.empty()) {
        throw CFailure(ExitStatus::Usage, std::string("The value of the ") + presented.title +
                                              " comes from " +
                                              (presented.isPuk ? "--puk-from." : "--pin-from."));
    }
}

const Secret& Checked(const Options& options, const Secret& presented)
{
    CheckSources(options, presented);
    return presented;
}

} // namespace

std::array<Limits, SECRET_COUNT> ReportedLimits(long slot, char* serial)
{
    std::array<Limits, SECRET_COUNT> limits;
    auto& [cnsPin, cnsPuk, dsPin, dsPuk] = limits;
    const long code =
        CNS_DS_GetPinLimit(slot, serial, &cnsPin.min, &cnsPin.max, &cnsPuk.min, &cnsPuk.max,
                           &dsPin.min, &dsPin.max, &dsPuk.min, &dsPuk.max);
    if (code != result::OK) {
        throw CFailure(ExplainedOutcome(code));
    }
    return limits;
}

std::string LengthText(const Limits& limits)
{
    const std::string max = std::to_string(limits.max) + " characters";
    return limits.min == limits.max ? max : std::to_string(limits.min) + " to " + max;
}

CChosenCard::CChosenCard(const Options& options)
    : m_reader(LocateCard(options)),
      m_serial(options.serial.empty() ? TryReadSerial(m_reader) : options.serial)
{
}

Tries AskTries(const Reader& reader, const Secret& secret)
{
    CCardQuery card(reader.name);
    if (card.State() != Contact::Answers) {
        throw CFailure(ContactOutcome(card.State(), reader.name, std::nullopt));
    }
    const Tries tries = card.Ask(secret);
    if (tries.state == Tries::State::Lost) {
        throw CFailure(ContactOutcome(card.WhySilent(), reader.name, std::nullopt));
    }
    return tries;
}

CAttempt::CAttempt(const Options& options, const Secret& presented, std::string doubt)
    : m_options(options), m_presented(Checked(options, presented)), m_doubt(std::move(doubt)),
      m_source(presented.isPuk ? "--puk-from" : "--pin-from", SourceOf(options, presented)),
      m_newSource("--new-from", options.newFrom), m_smKey(options.smKeyFile),
      m_isProtected(presented.isSignature && !options.isPlain), m_card(options)
{
    m_before = AskTries(m_card.InReader(), presented);
    Guard(m_before);
    Warn(m_before);
}

void CAttempt::Guard(const Tries& tries) const
{
    using State = Tries::State;
    const auto refuse = [&](ExitStatus status, const char* why, const char* advice) {
        Outcome refusal;
        refusal.status = status;
        refusal.message = std::string("The ") + m_presented.title + why +
                          " Nothing was sent to "
                          "the card.";
        refusal.advice = advice;
        refusal.triesLeft = tries.Number();
        refusal.statusWord = tries.statusWord;
        throw CFailure(refusal);
    };
    if (tries.IsBlocked()) {
        refuse(ExitStatus::Blocked, " is blocked.", m_presented.remedy);
    }
    if (tries.state == State::Deactivated) {
        refuse(ExitStatus::Refused, " is deactivated.",
               "Bring it back with the DS PUK: pindesk reactivate");
    }
    if (tries.state == State::Left && tries.left == 1 && !m_options.mayUseLastTry) {
        refuse(ExitStatus::Refused, " has one try left: a wrong value blocks it.",
               "To use that try all the same, add --use-last-try.");
    }
}

void CAttempt::Warn(const Tries& tries) const
{
    const std::string title = m_presented.title;
    if (tries.state == Tries::State::Untold) {
        Note(m_options, "The card does not tell how many tries the " + title + " has left.");
    }
    if (m_presented.isPuk) {
        Note(m_options, "Every wrong " + title +
                            " costs a try. A blocked PUK can never be brought "
                            "back: with its PIN blocked too, the card has to be replaced.");
    }
}

void CAttempt::Read(const Secret& secret, CSecretInput& value) const
{
    ReadChecked(m_source, secret, false, value);
}

void CAttempt::ReadNew(const Secret& secret, CSecretInput& value) const
{
    ReadChecked(m_newSource, secret, true, value);
}

Outcome CAttempt::Conclude(long code, const std::string& done, bool isChange) const
{
    if (code != result::OK) {
        return Judge(
            {m_card.InReader().name, m_presented, m_before, m_isProtected, isChange, m_doubt},
            code);
    }
    Outcome outcome;
    outcome.message = done;
    outcome.code = code;
    return outcome;
}

} // namespace tool
