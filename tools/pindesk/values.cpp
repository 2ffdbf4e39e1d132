// SPDX-License-Identifier: Apache-2.0

#include "values.h"

#include "columns.h"
#include "language.h"
#include "outcome.h"
#include "report.h"

#include <algorithm>
#include <cctype>

namespace tool {

namespace {

/// \throws CFailure when the value cannot be right.
pindesk_weakness Check(const Options& options, pindesk_secret secret, bool isNew,
                       const CSecretInput& value)
{
    pindesk_report report{};
    report.size = sizeof report;
    const pindesk_bytes bytes = {value.data(), value.size()};
    const std::uint32_t flags = options.takesAny ? PINDESK_ANY_CHARACTERS : 0;
    if (pindesk_check_value(secret, isNew ? 1 : 0, bytes, flags, &report) != PINDESK_DONE) {
        Outcome outcome = OutcomeOf(report);
        outcome.message = Unsent(outcome.message);
        const bool isStrange = report.detail == PINDESK_DETAIL_CHARACTERS ||
                               report.detail == PINDESK_DETAIL_NEW_CHARACTERS;
        if (isStrange && !options.takesAny) {
            outcome.advice = Say("Only digits are sent, unless --any-characters is given.");
        }
        throw CFailure(outcome);
    }
    return report.weakness;
}

void WarnOfNew(const Options& options, pindesk_weakness weakness, const CSecretInput& value)
{
    if (weakness != PINDESK_WEAKNESS_NONE) {
        Note(options, InWords(pindesk_weakness_text, weakness));
    }
    const bool isNumber = std::all_of(value.data(), value.data() + value.size(),
                                      [](unsigned char c) { return std::isdigit(c) != 0; });
    if (!isNumber) {
        Note(options, Say("A reader with a keypad of its own has no keys but digits for this."));
    }
}

// What brings a secret back, or that nothing does.
std::string Remedy(const States& states, const pindesk_secret_status& status)
{
    const bool isCns = status.secret == PINDESK_CNS_PIN;
    if (status.state == PINDESK_STATE_DEACTIVATED && status.secret == PINDESK_DS_PIN) {
        return ": pindesk reactivate";
    }
    if (status.state != PINDESK_STATE_BLOCKED || IsPuk(status.secret)) {
        return {};
    }
    return StateOf(states, isCns ? PINDESK_CNS_PUK : PINDESK_DS_PUK) == PINDESK_STATE_BLOCKED
               ? Say(", and so is its PUK: the card has to be replaced")
               : std::string(": pindesk unblock ") + (isCns ? "cns" : "ds");
}

} // namespace

pindesk_state StateOf(const States& states, pindesk_secret secret)
{
    const auto found = std::find_if(states.begin(), states.end(),
                                    [secret](const auto& row) { return row.secret == secret; });
    return found == states.end() ? PINDESK_STATE_NOT_TOLD : found->state;
}

pindesk_secret SecretNamed(const std::string& word)
{
    return *std::find_if(CARD_SECRETS.begin(), CARD_SECRETS.end(), [&](pindesk_secret secret) {
        return word == pindesk_secret_name(secret);
    });
}

bool IsPuk(pindesk_secret secret)
{
    return secret == PINDESK_CNS_PUK || secret == PINDESK_DS_PUK || secret == PINDESK_OTHER_PUK;
}

std::string TitleOf(pindesk_secret secret)
{
    return InWords(pindesk_secret_title, secret);
}

std::size_t TitleWidth()
{
    std::size_t width = 0;
    for (const pindesk_secret secret : CARD_SECRETS) {
        width = std::max(width, Columns(TitleOf(secret)));
    }
    return width + 2;
}

std::string StatusLines(const States& states)
{
    std::string lines;
    for (const pindesk_secret_status& status : states) {
        lines += Padded(TitleOf(status.secret), TitleWidth()) +
                 InWords(pindesk_state_text, &status) + Remedy(states, status) + "\n";
    }
    return lines;
}

Limits LimitsOf(pindesk_secret secret)
{
    Limits limits;
    pindesk_limits(secret, &limits.min, &limits.max);
    return limits;
}

std::string LengthText(const Limits& limits, bool takesAny)
{
    const std::string min = std::to_string(limits.min);
    const std::string max = std::to_string(limits.max);
    if (limits.min == limits.max) {
        return takesAny ? Say("{max} characters", {{"max", max}})
                        : Say("{max} digits", {{"max", max}});
    }
    return takesAny ? Say("{min} to {max} characters", {{"min", min}, {"max", max}})
                    : Say("{min} to {max} digits", {{"min", min}, {"max", max}});
}

void ReadValue(const Options& options, const CSource& source, pindesk_secret secret, bool isNew,
               std::int32_t triesLeft, CSecretInput& value)
{
    pindesk_weakness weakness = PINDESK_WEAKNESS_NONE;
    const std::string title = TitleOf(secret);
    Question question;
    question.title = isNew ? Say("new {secret}", {{"secret", title}}) : title;
    question.hint = LengthText(LimitsOf(secret), options.takesAny);
    if (triesLeft >= 0) {
        question.hint += ", " + Count("{n} try left", "{n} tries left", triesLeft);
    }
    question.isTwice = isNew;
    question.check = [&] { weakness = Check(options, secret, isNew, value); };
    source.Read(question, value);
    if (isNew) {
        WarnOfNew(options, weakness, value);
    }
}

} // namespace tool
