// SPDX-License-Identifier: Apache-2.0
//
// The desk says in words what to do next; here the command that does it is added.

#include "outcome.h"

#include "language.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace tool {

namespace {

struct Step {
    pindesk_next next;
    const char* command;
};
constexpr Step STEPS[] = {
    {PINDESK_NEXT_UNBLOCK_CNS, "pindesk unblock cns"},
    {PINDESK_NEXT_UNBLOCK_DS, "pindesk unblock ds"},
    {PINDESK_NEXT_REACTIVATE, "pindesk reactivate"},
    {PINDESK_NEXT_ALLOW_LAST_TRY, "--use-last-try"},
    {PINDESK_NEXT_INSERT_CARD, "--wait"},
    {PINDESK_NEXT_CHOOSE_READER, "--slot N, --reader TEXT, --serial S"},
    {PINDESK_NEXT_START_SERVICE, "systemctl start pcscd.socket"},
    {PINDESK_NEXT_CONNECT_READER, "pindesk doctor"},
    {PINDESK_NEXT_GET_RIGHTS, "pindesk doctor"},
    {PINDESK_NEXT_GIVE_SM_KEY, "--sm-key-file F"},
    {PINDESK_NEXT_USE_SM, desk::Msg("leave out --no-sm")},
    {PINDESK_NEXT_GIVE_ADMIN_KEY, "--admin-key-file F"},
    {PINDESK_NEXT_SEE_STATUS, "pindesk status"},
    {PINDESK_NEXT_IDENTIFY, "pindesk identify"},
};

Value Name(const char* name, bool isKnown)
{
    return isKnown ? Value(std::string(name)) : Value();
}

Value Text(const char* text)
{
    return Name(text, *text != '\0');
}

Row FieldsOf(const pindesk_report& report)
{
    Row row = {
        {"detail", Name(pindesk_detail_name(report.detail), report.detail != PINDESK_DETAIL_NONE)},
        {"next", Name(pindesk_next_name(report.next), report.next != PINDESK_NEXT_NOTHING)},
        {"slot", report.slot > 0 ? Value(long{report.slot}) : Value()},
        {"reader", Text(report.reader)},
        {"serial", Text(report.serial)},
    };
    if (report.outcome == PINDESK_IN_USE) {
        row.push_back({"holders", Text(report.holders)});
    }
    if (report.operation == PINDESK_OP_LOOK) {
        return row;
    }
    const Row ofSecrets = {
        {"secret", pindesk_secret_name(report.secret)},
        {"target", pindesk_secret_name(report.target)},
        {"in_force", Name(pindesk_in_force_name(report.in_force),
                          report.in_force != PINDESK_IN_FORCE_NOT_CONCERNED)},
        {"state", StateName(report.state)},
        {"weakness",
         Name(pindesk_weakness_name(report.weakness), report.weakness != PINDESK_WEAKNESS_NONE)},
        {"answer_lost", (report.notes & PINDESK_NOTE_ANSWER_LOST) != 0},
        {"left_verified", (report.notes & PINDESK_NOTE_LEFT_VERIFIED) != 0},
        {"admin_key_blocked", (report.notes & PINDESK_NOTE_ADMIN_KEY_BLOCKED) != 0},
        {"secrets_sent", long{report.secrets_sent}},
    };
    row.insert(row.end(), ofSecrets.begin(), ofSecrets.end());
    return row;
}

} // namespace

Outcome OutcomeOf(const pindesk_report& report)
{
    Outcome outcome;
    outcome.status = report.outcome;
    outcome.message = InWords(pindesk_text, &report);
    outcome.advice = WithCommand(InWords(pindesk_advice, &report), report.next);
    if (report.code != PINDESK_NO_CODE && report.detail != PINDESK_DETAIL_BAD_KEY) {
        outcome.code = report.code;
    }
    if (report.status_word >= 0) {
        outcome.statusWord = static_cast<std::uint16_t>(report.status_word);
    }
    if (report.tries_left >= 0) {
        outcome.triesLeft = report.tries_left;
    }
    outcome.fields = FieldsOf(report);
    return outcome;
}

std::string WithCommand(std::string advice, pindesk_next next)
{
    const auto* const step = std::find_if(std::begin(STEPS), std::end(STEPS),
                                          [next](const Step& row) { return row.next == next; });
    if (step == std::end(STEPS) || !advice.ends_with('.')) {
        return advice;
    }
    advice.back() = ':';
    return advice + " " + Say(step->command);
}

// Scripts have known these two before the desk told more; the tries tell which try is the last.
std::string StateName(pindesk_state state)
{
    switch (state) {
    case PINDESK_STATE_LAST_TRY:
        return pindesk_state_name(PINDESK_STATE_READY);
    case PINDESK_STATE_NOT_TOLD:
        return "unknown";
    default:
        return pindesk_state_name(state);
    }
}

void RefuseUsage(const std::string& message, const std::string& advice)
{
    throw CFailure(PINDESK_USAGE, message, advice.empty() ? Say("See: pindesk help") : advice);
}

std::string Unsent(const std::string& message)
{
    return message + " " + Say("Nothing was sent to the card.");
}

void Refuse(const std::string& message, const std::string& advice)
{
    throw CFailure(PINDESK_REFUSED, Unsent(message), advice);
}

std::string StatusWordText(std::uint16_t statusWord)
{
    std::array<char, 5> text{};
    std::snprintf(text.data(), text.size(), "%04X", static_cast<unsigned>(statusWord));
    return text.data();
}

} // namespace tool
