// SPDX-License-Identifier: Apache-2.0
//
// Help, made of the tables of verbs and options and broken into lines that fit a terminal.

#include "columns.h"
#include "language.h"
#include "verbs.h"

namespace tool {

namespace {

using desk::Msg;

constexpr std::size_t NAMES = 22;

struct Source {
    const char *name, *text;
};
constexpr Source SOURCES[] = {
    {"prompt", Msg("the terminal, without echo (default at a terminal)")},
    {"stdin",
     Msg("a line of standard input for each value, in the order asked (default otherwise)")},
    {"fd:N", Msg("a line of the open file descriptor N")},
    {"env:NAME", Msg("an environment variable")},
    {"file:PATH", Msg("the first line of a file that only its owner can read")},
};

std::string Entry(const std::string& name, const char* text)
{
    std::string line = Padded("  " + name, NAMES);
    if (Columns(line) > NAMES || line.back() != ' ') {
        line += "\n" + std::string(NAMES, ' ');
    }
    return line + Wrapped(Say(text), NAMES);
}

std::string OptionName(const OptionRow& option)
{
    std::string name = option.name;
    if (option.argument == nullptr) {
        return name;
    }
    return option.IsOptional() ? name + "[=SECONDS]" : name + " " + option.argument;
}

std::string OptionsOf(const Verb* verb)
{
    std::string text = "\n" + Say("Options:") + "\n";
    for (const OptionRow& option : OPTIONS) {
        if (verb == nullptr ? option.group == ALWAYS : verb->Takes(option)) {
            text += Entry(OptionName(option), option.text);
        }
    }
    return text;
}

std::string SourcesOf(const Verb& verb)
{
    if ((verb.options & (PIN | PUK | NEW)) == 0) {
        return {};
    }
    std::string text = "\n" + Say("A SOURCE of a secret is one of:") + "\n";
    for (const Source& source : SOURCES) {
        text += Entry(source.name, source.text);
    }
    return text;
}

std::string Usage(const std::string& what)
{
    return Wrapped(Say("Usage:") + " pindesk " + what, 0);
}

std::string HelpOf(const Verb& verb)
{
    const std::string words = verb.targets == nullptr ? "" : std::string(" ") + verb.targets;
    return Usage(verb.name + words + " [OPTION...]") + "\n" + Wrapped(Say(verb.summary) + ".", 0) +
           OptionsOf(&verb) + SourcesOf(verb) + "\n" + Say("Example:") + " " + verb.example + "\n";
}

std::string HelpOfAll()
{
    std::string text = Wrapped(Say("Manage the PINs and PUKs of a national services card."), 0) +
                       "\n" + Usage("VERB [WORD] [OPTION...]") + "\n" + Say("Verbs:") + "\n";
    for (const Verb& verb : VERBS) {
        text += Entry(verb.name, verb.summary);
    }
    text += OptionsOf(nullptr) + "\n" + Say("Examples:") + "\n";
    for (const Verb& verb : VERBS) {
        text += std::string("  ") + verb.example + "\n";
    }
    return text + "\n" +
           Wrapped(Say("What a verb takes: pindesk help VERB. Without a verb, at a terminal, "
                       "pindesk looks at the card and offers what makes sense. Secrets come from "
                       "a prompt or, without a terminal, from standard input, one line each."),
                   0);
}

} // namespace

Outcome ShowHelp(const Options& options)
{
    const std::string name =
        options.isHelp && options.verb != nullptr ? options.verb->name : options.Target();
    const Verb* const verb = FindVerb(name);
    if (verb == nullptr && !name.empty()) {
        RefuseUsage(Say("There is no such verb."));
    }
    Outcome outcome;
    outcome.output = verb == nullptr ? HelpOfAll() : HelpOf(*verb);
    outcome.fields = {{"help", outcome.output}};
    return outcome;
}

} // namespace tool
