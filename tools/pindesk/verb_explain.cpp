// SPDX-License-Identifier: Apache-2.0
//
// pindesk explain: looks up a result code of the library, a status word of a card, or an exit status
// of this program.

#include "language.h"
#include "numbers.h"
#include "verbs.h"

#include <optional>

namespace tool {

namespace {

constexpr std::size_t CODE_DIGITS = 3;

// A result code is a decimal of up to three digits, with or without its minus.
std::optional<std::int32_t> ToResultCode(const std::string& text)
{
    const std::string digits = text.starts_with('-') ? text.substr(1) : text;
    std::int32_t code = 0;
    const bool isCode = digits.size() <= CODE_DIGITS && ToNumber(digits, DECIMAL, code) &&
                        code >= 0 && !InWords(pindesk_code_text, -code).empty();
    return isCode ? std::optional(-code) : std::nullopt;
}

// A status word is four hexadecimal digits, or the decimal that the library returns for it.
std::optional<std::uint16_t> ToStatusWord(const std::string& text)
{
    constexpr std::uint16_t FIRST = 0x6000, LAST = 0x9FFF;
    constexpr std::size_t HEX_DIGITS = 4, DECIMAL_DIGITS = 5;
    const bool hasPrefix = text.starts_with("0x") || text.starts_with("0X");
    const std::string digits = hasPrefix ? text.substr(2) : text;
    const bool isDecimal = digits.size() == DECIMAL_DIGITS && !hasPrefix;
    std::uint16_t word = 0;
    const bool isWord = (isDecimal || digits.size() == HEX_DIGITS) &&
                        ToNumber(digits, isDecimal ? DECIMAL : HEXADECIMAL, word) &&
                        word >= FIRST && word <= LAST;
    return isWord ? std::optional(word) : std::nullopt;
}

std::optional<pindesk_outcome> ToExitStatus(const std::string& text)
{
    int status = 0;
    const bool isStatus = ToNumber(text, DECIMAL, status) && status >= PINDESK_DONE &&
                          status <= PINDESK_INTERNAL_ERROR;
    return isStatus ? std::optional(static_cast<pindesk_outcome>(status)) : std::nullopt;
}

Outcome Explained(const std::string& name, const std::string& meaning, const std::string& advice)
{
    Outcome outcome;
    outcome.output = name + ": " + meaning + "\n" + (advice.empty() ? "" : advice + "\n");
    outcome.fields = {{"meaning", meaning}, {"what_to_do", advice}};
    return outcome;
}

Outcome ExplainExitStatus(pindesk_outcome status)
{
    Outcome outcome = Explained(Say("exit status {status}", {{"status", std::to_string(status)}}),
                                InWords(pindesk_outcome_text, status), "");
    outcome.fields.push_back({"name", std::string(pindesk_outcome_name(status))});
    return outcome;
}

// The same number can be an exit status of ours: a bare one is told as both.
Outcome ExplainResultCode(std::int32_t code, const std::string& text)
{
    const pindesk_outcome stands = pindesk_code_outcome(code);
    Outcome outcome =
        Explained(std::to_string(code), InWords(pindesk_code_text, code),
                  WithCommand(InWords(pindesk_code_advice, code), pindesk_code_next(code)));
    outcome.code = code;
    outcome.fields.push_back({"exit_status_of_code", long{stands}});
    const std::optional<pindesk_outcome> status = ToExitStatus(text);
    if (status) {
        const Outcome other = ExplainExitStatus(*status);
        outcome.output += other.output;
        outcome.fields.push_back(
            {"meaning_as_exit_status", InWords(pindesk_outcome_text, *status)});
    }
    return outcome;
}

Outcome ExplainStatusWord(std::uint16_t word)
{
    const std::string meaning = InWords(pindesk_status_word_text, word);
    Outcome outcome = Explained(
        StatusWordText(word),
        meaning.empty() ? Say("A status word without a meaning common to all cards.") : meaning,
        "");
    outcome.statusWord = word;
    return outcome;
}

} // namespace

Outcome ExplainCode(const Options& options)
{
    const std::string text = options.Target();
    if (text == "exit" && options.words.size() == 2) {
        if (const auto status = ToExitStatus(options.words.back())) {
            return ExplainExitStatus(*status);
        }
    }
    if (options.words.size() == 1) {
        if (const auto code = ToResultCode(text)) {
            return ExplainResultCode(*code, text);
        }
        if (const auto word = ToStatusWord(text)) {
            return ExplainStatusWord(*word);
        }
        if (const auto status = ToExitStatus(text)) {
            return ExplainExitStatus(*status);
        }
    }
    RefuseUsage(Say("explain takes a result code (-22 or 22), a status word (63C2 or 0x63C2) or an "
                    "exit status (exit 4)."),
                Say("The manual lists them: man pindesk"));
}

} // namespace tool
