// SPDX-License-Identifier: Apache-2.0
//
// The table of the verbs: what the command line accepts and what runs.

#include "verbs.h"

#include "desk/words.h"
#include "language.h"

#include <algorithm>
#include <unistd.h>

namespace tool {

namespace {

using desk::Msg;

constexpr const char* SECRET_WORDS = "cns-pin|cns-puk|ds-pin|ds-puk";
constexpr unsigned LOOK = CARD | WAITING | SETTINGS;
constexpr unsigned PRESENT = LOOK | SECRETS | PROTECTED;

constexpr Verb ROWS[] = {
    {"readers", Msg("List the readers and the cards in them"), nullptr, WATCH | WAITING,
     "pindesk readers --watch", ShowReaders},
    {"serial", Msg("Print the card's serial number"), nullptr, LOOK, "pindesk serial --wait=30",
     ShowSerial},
    {"status", Msg("Tell the tries left of the four secrets"), nullptr, LOOK | STATUS,
     "pindesk status --json", ShowStatus},
    {"limits", Msg("Tell the permitted lengths of the four secrets"), nullptr, 0, "pindesk limits",
     ShowLimits},
    {"verify", Msg("Check a PIN or PUK"), SECRET_WORDS, PRESENT | PIN | PUK,
     "pindesk verify cns-pin", VerifySecret},
    {"change", Msg("Give a PIN or PUK a new value"), SECRET_WORDS, PRESENT | PIN | PUK | NEW,
     "pindesk change ds-pin --pin-from file:old.pin --new-from file:new.pin", ChangeSecret},
    {"unblock", Msg("Set a new PIN with the PUK, also when the PIN is blocked"), "cns|ds",
     PRESENT | PUK | NEW | FAMILY, "pindesk unblock cns", UnblockPin},
    {"lock", Msg("Deactivate the signature PIN"), nullptr, LOOK | LOCK,
     "pindesk lock --admin-key-file admin.key", LockSignature},
    {"reactivate", Msg("Bring a deactivated signature PIN back with the DS PUK"), nullptr,
     PRESENT | PUK | NEW, "pindesk reactivate --new-from prompt", ReactivateSignature},
    {"identify", Msg("Tell kind, layout, chip and speed of the card"), nullptr, LOOK,
     "pindesk identify --slot 2", IdentifyCard},
    {"explain", Msg("Tell what a result code, status word or exit status means"), "CODE", 0,
     "pindesk explain exit 4", ExplainCode},
    {"doctor", Msg("Find out why it does not work"), nullptr, CARD | DOCTOR,
     "pindesk doctor --bundle report.json", Diagnose},
    {"help", Msg("Print what a verb does and which options it takes"), "VERB", 0,
     "pindesk help change", ShowHelp},
};

Outcome ShowVersion()
{
    Outcome outcome;
    outcome.output = std::string("pindesk ") + pindesk_version() + "\n";
    outcome.fields = {{"version", pindesk_version()}};
    return outcome;
}

std::string Names()
{
    std::string names;
    for (const Verb& verb : ROWS) {
        names += std::string(names.empty() ? "" : ", ") + verb.name;
    }
    return names;
}

} // namespace

const std::span<const Verb> VERBS = ROWS;

const Verb* FindVerb(const std::string& name)
{
    const auto* const found = std::find_if(std::begin(ROWS), std::end(ROWS),
                                           [&](const Verb& verb) { return name == verb.name; });
    return found == std::end(ROWS) ? nullptr : found;
}

Outcome Run(const Options& options)
{
    if (options.isVersion) {
        return ShowVersion();
    }
    if (options.isHelp) {
        return ShowHelp(options);
    }
    if (options.verb != nullptr) {
        return options.verb->run(options);
    }
    const bool isPerson = isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0;
    if (!isPerson || options.isJson) {
        RefuseUsage(Say("A verb is missing. The verbs are: {verbs}.", {{"verbs", Names()}}));
    }
    return Guide(options);
}

} // namespace tool
