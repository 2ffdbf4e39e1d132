// SPDX-License-Identifier: Apache-2.0
//
// The command line, parsed by CLI11. Its own messages quote arguments, and an argument may be a PIN
// given by mistake: they are replaced by ours wherever that can happen.

#include "options.h"

#include "numbers.h"
#include "outcome.h"
#include "verbs.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <limits>
#include <sstream>

namespace tool {

namespace {

constexpr std::size_t SERIAL_LENGTH = 16;
constexpr long MAX_WAIT = 86400;
constexpr std::chrono::hours FOREVER{24 * 365 * 100}; // the maximum overflows when compared
constexpr const char* WHY_NO_SECRETS =
    "PINs, PUKs and keys are never taken from the command line: every user of this machine could "
    "read them in the list of processes, and the shell remembers them. Use the prompt, or "
    "--pin-from, --puk-from and --new-from. If it was a real one, change it.";

[[noreturn]] void RefuseUsage(const std::string& message, const std::string& advice = {})
{
    throw CFailure(ExitStatus::Usage, message, advice.empty() ? "See: pindesk --help" : advice);
}

bool IsOneOf(const std::string& word, const std::string& words)
{
    std::istringstream list(words);
    for (std::string candidate; std::getline(list, candidate, '|');) {
        if (candidate == word) {
            return true;
        }
    }
    return false;
}

std::string ListOf(std::string words)
{
    std::replace(words.begin(), words.end(), '|', ' ');
    return words;
}

void AddCommonOptions(CLI::App& app, Options& options, std::string& wait)
{
    auto* const slot = app.add_option("--slot", options.slot, "The reader in slot N, from 1");
    slot->option_text("N")->check(CLI::Range(1L, std::numeric_limits<long>::max()));
    app.add_option("--reader", options.reader, "The reader of this name, or with TEXT in its name")
        ->option_text("TEXT")
        ->excludes(slot);
    app.add_option("--serial", options.serial, "Refuse any card but the one with this number")
        ->option_text("S");
    app.add_flag("--wait{forever}", wait, "Wait for a card, at most SECONDS when given");
    app.add_flag("--json", options.isJson, "Print one JSON object");
    app.add_flag("--quiet", options.isQuiet, "Print results and errors only");
    app.add_option("--set", options.settings, "Change a setting of the library (repeatable)")
        ->option_text("NAME=VALUE")
        ->allow_extra_args(false);
    auto* const plain = app.add_flag("--no-sm", options.isPlain,
                                     "No secure messaging for the DS secrets (default: on)");
    app.add_option("--sm-key-file", options.smKeyFile, "The secure-messaging key")
        ->option_text("F")
        ->excludes(plain);
    app.add_option("--admin-key-file", options.adminKeyFile, "The administration key (lock)")
        ->option_text("F");
    app.add_flag("--yes", options.isConfirmed, "Do not ask for confirmation (lock)");
    app.add_flag("--use-last-try", options.mayUseLastTry, "Use a secret's last try if need be");
}

void AddVerb(CLI::App& app, const Verb& verb, Options& options)
{
    CLI::App* const command = app.add_subcommand(verb.name, verb.summary);
    command->fallthrough();
    command->footer(std::string("Example: ") + verb.example + "\nCommon options: pindesk --help");
    command->callback([&options, &verb] { options.verb = &verb; });
    if (verb.targets != nullptr) {
        command->add_option("what", options.target, ListOf(verb.targets))->option_text(" ");
    }
    const auto addSource = [&](bool isAsked, const char* name, std::string& value,
                               const char* what) {
        if (isAsked) {
            command->add_option(name, value, what)->option_text("SOURCE");
        }
    };
    addSource(verb.asksPin, "--pin-from", options.pinFrom,
              "Where the PIN comes from: prompt, stdin, fd:N, env:NAME, file:PATH");
    addSource(verb.asksPuk, "--puk-from", options.pukFrom, "Where the PUK comes from, likewise");
    addSource(verb.asksNew, "--new-from", options.newFrom, "Where the new value comes from");
    if (verb.run == UnblockPin) {
        command->add_option("--family", options.family, "Another card: starcos or m4-1111")
            ->option_text("FAMILY");
    }
}

std::string Verbs()
{
    std::string names;
    for (const Verb& verb : kVerbs) {
        names += std::string(names.empty() ? "" : ", ") + verb.name;
    }
    return names;
}

std::string Examples()
{
    std::string text = "Examples:\n";
    for (const Verb& verb : kVerbs) {
        text += std::string("  ") + verb.example + "\n";
    }
    return text + "Secrets come from a prompt or, without a terminal, from standard input, one "
                  "line each.";
}

// The name of an option that nothing knows, or nothing when it might be more than a name.
std::string UnknownOption(const std::vector<std::string>& extras)
{
    for (const std::string& extra : extras) {
        std::string name = extra.substr(0, extra.find('='));
        const bool isName = name.size() > 2 && name.compare(0, 2, "--") == 0 &&
                            std::all_of(name.begin(), name.end(), [](unsigned char c) {
                                return std::islower(c) != 0 || c == '-';
                            });
        if (isName) {
            return name;
        }
    }
    return {};
}

void RefuseExtras(std::vector<std::string> extras)
{
    std::erase(extras, "--"); // the end of the options is no argument
    if (extras.empty()) {
        return;
    }
    const std::string option = UnknownOption(extras);
    RefuseUsage(option.empty() ? "There are more arguments than this verb takes."
                               : "There is no option " + option + " here.",
                WHY_NO_SECRETS);
}

void CheckVerb(const Options& options)
{
    const std::string targets = options.verb->targets == nullptr ? "" : options.verb->targets;
    const bool isFree = targets.empty() || targets == "CODE";
    if (isFree || (options.target.empty() && !options.family.empty())) {
        return;
    }
    if (!IsOneOf(options.target, targets)) {
        RefuseUsage(std::string("pindesk ") + options.verb->name +
                        " takes one of these words: " + ListOf(targets) + ".",
                    options.target.empty() ? "" : WHY_NO_SECRETS);
    }
}

void CheckValues(const Options& options)
{
    if (!options.serial.empty() && options.serial.size() != SERIAL_LENGTH) {
        RefuseUsage("A serial number has 16 characters.");
    }
    if (!options.family.empty() && !IsOneOf(options.family, "starcos|m4-1111")) {
        RefuseUsage("--family takes starcos or m4-1111.");
    }
}

void TakeWait(const std::string& wait, Options& options)
{
    if (wait.empty()) {
        return;
    }
    long seconds = 0;
    if (wait == "forever") {
        options.wait = FOREVER;
    } else if (ToNumber(wait, DECIMAL, seconds) && seconds >= 0 && seconds <= MAX_WAIT) {
        options.wait = std::chrono::seconds(seconds);
    } else {
        RefuseUsage("--wait takes a number of seconds, " + std::to_string(MAX_WAIT) +
                    " at most: --wait=30.");
    }
}

} // namespace

bool ParseCommandLine(int argc, char** argv, Options& options)
{
    CLI::App app{"Manage the PINs and PUKs of a national services card.", "pindesk"};
    app.set_version_flag("--version", "pindesk " PINDESK_VERSION);
    app.footer(Examples());
    app.allow_extras();
    app.require_subcommand(0, 1);
    std::string wait;
    AddCommonOptions(app, options, wait);
    for (const Verb& verb : kVerbs) {
        AddVerb(app, verb, options);
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& request) { // help or version
        app.exit(request);
        return false;
    } catch (const CLI::ParseError& error) {
        RefuseUsage(error.what());
    }
    if (options.verb == nullptr) {
        RefuseUsage("A verb is missing. The verbs are: " + Verbs() + ".");
    }
    RefuseExtras(app.remaining(true));
    CheckVerb(options);
    CheckValues(options);
    TakeWait(wait, options);
    return true;
}

} // namespace tool
