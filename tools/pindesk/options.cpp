// SPDX-License-Identifier: Apache-2.0
//
// The command line, taken apart by CLI11 and understood here. CLI11's own messages quote arguments,
// and an argument may be a PIN given by mistake: none of them is shown.

#include "options.h"

#include "language.h"
#include "nearest.h"
#include "numbers.h"
#include "outcome.h"
#include "verbs.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <sstream>

namespace tool {

namespace {

constexpr std::size_t SERIAL_LENGTH = PINDESK_SERIAL_SIZE - 1, SHORTEST_SECRET = 4;
constexpr std::int32_t MAX_SECONDS = 86400, MAX_SLOT = 9999, MS = 1000;
constexpr const char* FOREVER = "forever"; // what --wait alone stands for
constexpr const char* SET = "true";        // what CLI11 has any other flag stand for

std::string WhyNoSecrets()
{
    return Say("PINs, PUKs and keys are never taken from the command line: every user of this "
               "machine could read them in the list of processes, and the shell remembers them. "
               "Use the prompt, or --pin-from, --puk-from and --new-from. If it was a real one, "
               "change it.");
}

bool HasDigit(const std::string& word)
{
    return std::any_of(word.begin(), word.end(),
                       [](unsigned char c) { return std::isdigit(c) != 0; });
}

// Such a word is not repeated either.
bool LooksSecret(const std::string& word)
{
    return word.size() >= SHORTEST_SECRET && HasDigit(word);
}

std::vector<std::string> Split(const std::string& words)
{
    std::vector<std::string> list;
    std::istringstream stream(words);
    for (std::string word; std::getline(stream, word, '|');) {
        list.push_back(word);
    }
    return list;
}

std::string Listed(std::string words)
{
    std::replace(words.begin(), words.end(), '|', ' ');
    return words;
}

std::string DidYouMean(const std::string& word, const std::vector<std::string>& candidates)
{
    const std::string nearest = Nearest(word, candidates);
    return nearest.empty() ? std::string() : Say("Did you mean {word}?", {{"word", nearest}});
}

/// What was given for each row of OPTIONS.
using Given = std::vector<std::vector<std::string>>;

void AddOptions(CLI::App& app, Given& given)
{
    for (std::size_t i = 0; i < OPTIONS.size(); ++i) {
        const OptionRow& row = OPTIONS[i];
        const std::string name = row.flag == &Options::isHelp ? "-h,--help" : row.name;
        if (row.IsOptional()) {
            app.add_flag(std::string(row.name) + "{" + FOREVER + "}", given[i]);
        } else if (row.flag != nullptr) {
            app.add_flag(name, given[i]);
        } else {
            app.add_option(name, given[i])->allow_extra_args(false);
        }
    }
}

// The name of an option that nothing knows. Its value stays out: it may be a secret.
void RefuseUnknownOption(const std::string& word)
{
    const std::string name = word.substr(0, word.find('='));
    const bool isName = std::all_of(
        name.begin(), name.end(), [](unsigned char c) { return std::islower(c) != 0 || c == '-'; });
    const bool isOfSecret = !isName || name.find("pin") != std::string::npos ||
                            name.find("puk") != std::string::npos || LooksSecret(word);
    std::vector<std::string> names;
    std::transform(OPTIONS.begin(), OPTIONS.end(), std::back_inserter(names),
                   [](const OptionRow& row) { return row.name; });
    RefuseUsage(isName ? Say("There is no option {option}.", {{"option", name}})
                       : Say("There is no such option."),
                isOfSecret ? WhyNoSecrets() : DidYouMean(name, names));
}

void TakeWords(std::vector<std::string> words, Options& options)
{
    std::erase(words, "--"); // the end of the options is no argument
    for (const std::string& word : words) {
        long code = 0; // a result code is a word
        if (word.starts_with('-') && !ToNumber(word, DECIMAL, code)) {
            RefuseUnknownOption(word);
        }
    }
    if (words.empty()) {
        return;
    }
    options.verb = FindVerb(words.front());
    if (options.verb == nullptr) {
        std::vector<std::string> names;
        std::transform(VERBS.begin(), VERBS.end(), std::back_inserter(names),
                       [](const Verb& verb) { return verb.name; });
        const std::string& word = words.front();
        RefuseUsage(HasDigit(word) ? Say("There is no such verb.")
                                   : Say("There is no verb {word}.", {{"word", word}}),
                    LooksSecret(word) ? WhyNoSecrets() : DidYouMean(word, names));
    }
    options.words.assign(words.begin() + 1, words.end());
}

void TakeValues(const Given& given, Options& options)
{
    for (std::size_t i = 0; i < OPTIONS.size(); ++i) {
        const OptionRow& row = OPTIONS[i];
        if (given[i].empty()) {
            continue;
        }
        if (std::find(given[i].begin(), given[i].end(), "") != given[i].end()) {
            RefuseUsage(Say("{option} needs a value.", {{"option", row.name}}));
        }
        if (row.flag != nullptr) {
            if (given[i].front() != SET) {
                RefuseUsage(Say("{option} takes no value.", {{"option", row.name}}));
            }
            options.*row.flag = true;
        } else if (row.value == nullptr) {
            options.settings = given[i];
        } else if (given[i].size() > 1) {
            RefuseUsage(Say("{option} was given more than once.", {{"option", row.name}}));
        } else {
            options.*row.value = given[i].front();
        }
        const bool hasEffect = options.verb == nullptr || options.verb->Takes(row);
        if (!hasEffect && !options.isHelp) {
            RefuseUsage(Say("pindesk {verb} does not take {option}.",
                            {{"verb", options.verb->name}, {"option", row.name}}),
                        Say("See: pindesk help {verb}", {{"verb", options.verb->name}}));
        }
    }
}

void CheckTarget(const Options& options)
{
    const std::string targets = options.verb->targets == nullptr ? "" : options.verb->targets;
    const bool isFree = targets == "CODE" || targets == "VERB";
    if (isFree || options.isHelp) {
        return;
    }
    const bool needsOne = !targets.empty() && options.family.empty();
    const std::vector<std::string> choice = Split(targets);
    const std::string target = options.Target();
    if (needsOne && std::find(choice.begin(), choice.end(), target) == choice.end()) {
        const std::string advice =
            LooksSecret(target) ? WhyNoSecrets() : DidYouMean(target, choice);
        RefuseUsage(Say("pindesk {verb} takes one of these words: {words}.",
                        {{"verb", options.verb->name}, {"words", Listed(targets)}}),
                    advice);
    }
    if (options.words.size() == (needsOne ? 1U : 0U)) {
        return;
    }
    const std::string& extra = options.words.back();
    const bool isWait =
        options.waitText == FOREVER && extra.size() < SHORTEST_SECRET && HasDigit(extra);
    RefuseUsage(Say("There are more words than this verb takes."),
                isWait                    ? Say("The seconds follow a sign: --wait=30.")
                : LooksSecret(extra)      ? WhyNoSecrets()
                : !options.family.empty() ? Say("--family takes the place of the word.")
                                          : "");
}

std::int32_t Number(const char* option, const std::string& text, std::int32_t min, std::int32_t max)
{
    std::int32_t number = 0;
    if (!ToNumber(text, DECIMAL, number) || number < min || number > max) {
        RefuseUsage(
            Say("{option} takes a number from {min} to {max}.",
                {{"option", option}, {"min", std::to_string(min)}, {"max", std::to_string(max)}}));
    }
    return number;
}

void Understand(Options& options)
{
    if (!options.slotText.empty()) {
        options.slot = Number("--slot", options.slotText, 1, MAX_SLOT);
    }
    if (!options.timeoutText.empty()) {
        options.timeoutMs = Number("--timeout", options.timeoutText, 1, MAX_SECONDS) * MS;
    }
    if (options.waitText == FOREVER) {
        options.waitMs = PINDESK_FOREVER;
    } else if (!options.waitText.empty()) {
        options.waitMs = Number("--wait", options.waitText, 0, MAX_SECONDS) * MS;
    }
    if (options.slot != 0 && !options.reader.empty()) {
        RefuseUsage(Say("Give either --slot or --reader."));
    }
    if (options.isPlain && !options.smKeyFile.empty()) {
        RefuseUsage(Say("Give either --no-sm or --sm-key-file."));
    }
    if (!options.serial.empty() && options.serial.size() != SERIAL_LENGTH) {
        RefuseUsage(Say("A serial number has 16 characters."));
    }
}

// CLI11 takes an empty value of an option that needs none for no value.
void RefuseEmptyValues(int argc, char** argv)
{
    for (const OptionRow& row : OPTIONS) {
        const std::string empty = std::string(row.name) + "=";
        if (std::find(argv, argv + argc, empty) != argv + argc) {
            RefuseUsage(Say("{option} needs a value.", {{"option", row.name}}));
        }
    }
}

void Parse(CLI::App& app, int argc, char** argv)
{
    RefuseEmptyValues(argc, argv);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const std::string what = error.what(); // begins with the name, where an option is at fault
        const std::string name = what.substr(0, what.find_first_of(": ="));
        const bool isKnown = std::any_of(OPTIONS.begin(), OPTIONS.end(),
                                         [&](const auto& row) { return name == row.name; });
        RefuseUsage(isKnown ? Say("{option} needs a value.", {{"option", name}})
                            : Say("The command line cannot be understood."));
    }
}

} // namespace

void ParseCommandLine(int argc, char** argv, Options& options)
{
    CLI::App app;
    app.set_help_flag();
    app.allow_extras();
    Given given(OPTIONS.size());
    AddOptions(app, given);
    Parse(app, argc, argv);
    TakeWords(app.remaining(), options);
    TakeValues(given, options);
    if (options.verb != nullptr) {
        CheckTarget(options);
    }
    Understand(options);
}

} // namespace tool
