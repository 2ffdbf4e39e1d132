// SPDX-License-Identifier: Apache-2.0
//
// The verbs that use a PIN or PUK: whatever the card would have to be protected from is refused
// before anybody is asked for a value.

#include "client.h"
#include "language.h"
#include "report.h"
#include "terminal.h"
#include "values.h"
#include "verbs.h"

#include <unistd.h>

namespace tool {

namespace {

pindesk_bytes Bytes(const CSecretInput& value)
{
    return {value.data(), value.size()};
}

/// What a verb is about to do.
struct Plan {
    pindesk_operation operation;
    pindesk_secret secret; ///< as pindesk_check wants it
    pindesk_secret presented;
    pindesk_secret target; ///< gets the new value
    bool setsNew;
};

CSource PresentSource(const Options& options, const Plan& plan)
{
    const bool isPuk = IsPuk(plan.presented);
    if (!(isPuk ? options.pinFrom : options.pukFrom).empty()) {
        RefuseUsage(Say("The value of the {secret} comes from {option}.",
                        {{"secret", TitleOf(plan.presented)},
                         {"option", isPuk ? "--puk-from" : "--pin-from"}}));
    }
    return isPuk ? CSource("--puk-from", options.pukFrom) : CSource("--pin-from", options.pinFrom);
}

// A file or variable is read from its start each time: both values would be the same.
void CheckSources(const std::string& present, const std::string& next)
{
    if (present == next && (present.starts_with("file:") || present.starts_with("env:"))) {
        RefuseUsage(Say("Two values cannot come from the same file or variable."),
                    Say("Give them a file each, or use stdin or fd:N: a line each."));
    }
}

void Warn(const Options& options, const pindesk_report& before)
{
    const std::string title = TitleOf(before.secret);
    if (before.tries_left < 0) {
        Note(options, Say("The card does not tell how many tries the {secret} has left.",
                          {{"secret", title}}));
    }
    if (IsPuk(before.secret)) {
        Note(options, Say("Every wrong {secret} costs a try. A blocked PUK can never be brought "
                          "back: with its PIN blocked too, the card has to be replaced.",
                          {{"secret", title}}));
    }
}

template <typename Operation>
Outcome Present(const Options& options, const Plan& plan, Operation operation)
{
    const CSource source = PresentSource(options, plan);
    const CSource newSource("--new-from", options.newFrom);
    CheckSources(options.pinFrom + options.pukFrom, options.newFrom);
    CClient client(options);
    const pindesk_report before =
        client.Call([&](pindesk_desk* desk, const pindesk_options* call, pindesk_report* report) {
            return pindesk_check(desk, plan.operation, plan.secret, call, report);
        });
    client.HoldTo(before);
    Warn(options, before);
    CSecretInput value;
    CSecretInput newValue;
    ReadValue(options, source, plan.presented, false, before.tries_left, value);
    if (plan.setsNew) {
        ReadValue(options, newSource, plan.target, true, -1, newValue);
    }
    return OutcomeOf(
        client.Call([&](pindesk_desk* desk, const pindesk_options* call, pindesk_report* report) {
            return operation(desk, Bytes(value), Bytes(newValue), call, report);
        }));
}

struct Family {
    const char* name;
    pindesk_operation operation;
};
constexpr Family FAMILIES[] = {
    {"starcos", PINDESK_OP_UNBLOCK_STARCOS},
    {"m4-1111", PINDESK_OP_UNBLOCK_M4_1111},
};

Outcome UnblockOtherFamily(const Options& options)
{
    for (const Family& family : FAMILIES) {
        if (options.family != family.name) {
            continue;
        }
        const Plan plan = {family.operation, PINDESK_OTHER_PIN, PINDESK_OTHER_PUK,
                           PINDESK_OTHER_PIN, true};
        return Present(options, plan,
                       [&](pindesk_desk* desk, pindesk_bytes puk, pindesk_bytes pin,
                           const pindesk_options* call, pindesk_report* report) {
                           return pindesk_unblock_family(desk, family.operation, puk, pin, call,
                                                         report);
                       });
    }
    RefuseUsage(Say("--family takes starcos or m4-1111."));
}

void Confirm(const Options& options)
{
    constexpr const char* WORD = "lock";
    if (options.isConfirmed) {
        return;
    }
    std::string question =
        Say("This deactivates the signature PIN: nothing can be signed with this card until "
            "pindesk reactivate, which needs the DS PUK.") +
        "\n" + Say("The access conditions of the card are tightened for good.") + "\n";
    if (!options.adminKeyFile.empty()) {
        question += Say("The administration key is blocked for good.") + "\n";
    }
    question += Say("Type {word} to go on:", {{"word", WORD}}) + " ";
    CSecretInput answer;
    const LineEnd end = isatty(STDIN_FILENO) != 0 ? AskAtTerminal(question, Echo::On, answer)
                                                  : ReadLine(STDIN_FILENO, answer);
    if (end != LineEnd::Complete || !answer.Equals(WORD)) {
        Refuse(Say("Not confirmed: the word {word} was not typed.", {{"word", WORD}}),
               Say("In scripts: --yes."));
    }
}

} // namespace

Outcome VerifySecret(const Options& options)
{
    const pindesk_secret secret = SecretNamed(options.Target());
    return Present(
        options, {PINDESK_OP_VERIFY, secret, secret, secret, false},
        [&](pindesk_desk* desk, pindesk_bytes value, pindesk_bytes, const pindesk_options* call,
            pindesk_report* report) { return pindesk_verify(desk, secret, value, call, report); });
}

Outcome ChangeSecret(const Options& options)
{
    const pindesk_secret secret = SecretNamed(options.Target());
    return Present(options, {PINDESK_OP_CHANGE, secret, secret, secret, true},
                   [&](pindesk_desk* desk, pindesk_bytes value, pindesk_bytes newValue,
                       const pindesk_options* call, pindesk_report* report) {
                       return pindesk_change(desk, secret, value, newValue, call, report);
                   });
}

Outcome UnblockPin(const Options& options)
{
    if (!options.family.empty()) {
        return UnblockOtherFamily(options);
    }
    const bool isCns = options.Target() == "cns";
    const pindesk_secret pin = isCns ? PINDESK_CNS_PIN : PINDESK_DS_PIN;
    const pindesk_secret puk = isCns ? PINDESK_CNS_PUK : PINDESK_DS_PUK;
    return Present(options, {PINDESK_OP_UNBLOCK, pin, puk, pin, true},
                   [&](pindesk_desk* desk, pindesk_bytes value, pindesk_bytes newPin,
                       const pindesk_options* call, pindesk_report* report) {
                       return pindesk_unblock(desk, pin, value, newPin, call, report);
                   });
}

Outcome ReactivateSignature(const Options& options)
{
    const Plan plan = {PINDESK_OP_REACTIVATE, PINDESK_DS_PIN, PINDESK_DS_PUK, PINDESK_DS_PIN,
                       !options.newFrom.empty()};
    return Present(
        options, plan,
        [](pindesk_desk* desk, pindesk_bytes puk, pindesk_bytes newPin, const pindesk_options* call,
           pindesk_report* report) { return pindesk_reactivate(desk, puk, newPin, call, report); });
}

Outcome LockSignature(const Options& options)
{
    CClient client(options);
    client.HoldTo(
        client.Call([](pindesk_desk* desk, const pindesk_options* call, pindesk_report* report) {
            return pindesk_check(desk, PINDESK_OP_LOCK, PINDESK_DS_PIN, call, report);
        }));
    Confirm(options);
    Outcome outcome = OutcomeOf(client.Call(pindesk_lock));
    outcome.advice = Say("See: pindesk help {verb}", {{"verb", "reactivate"}});
    return outcome;
}

} // namespace tool
