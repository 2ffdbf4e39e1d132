// SPDX-License-Identifier: Apache-2.0
//
// pindesk explain: looks up a result code of the library, or a status word of a card.

#include "explain.h"
#include "numbers.h"
#include "verbs.h"

#include <algorithm>

namespace tool {

namespace {

struct StatusWordMeaning {
    unsigned mask, word;
    const char* meaning;
    const char* advice;
};

constexpr StatusWordMeaning kStatusWords[] = {
    {0xFFFF, 0x9000, "The command succeeded; to a query for tries: already verified.", ""},
    {0xFFFF, 0x6283, "The selected file is deactivated.", "For the signature: pindesk reactivate"},
    {0xFFFF, 0x63C0, "A wrong value, and no try is left: the secret is blocked now.",
     "A PIN comes back with: pindesk unblock"},
    {0xFFF0, 0x63C0,
     "A wrong value, or the answer to a query for tries; the last digit is the "
     "number of tries left.",
     "pindesk status tells whose they are."},
    {0xFFFF, 0x6700, "The length of the command's data is wrong.", ""},
    {0xFFFF, 0x6982, "The card asks for another right first: a PIN, a key or secure messaging.",
     ""},
    {0xFFFF, 0x6983, "The secret is blocked.", "A PIN comes back with: pindesk unblock"},
    {0xFFFF, 0x6984, "The secret is deactivated.", "For the signature PIN: pindesk reactivate"},
    {0xFFFF, 0x6985, "The card does not allow the command in its present state.", ""},
    {0xFFFF, 0x6987, "Objects of the secure messaging are missing.",
     "The card wants secure messaging: leave out --no-sm."},
    {0xFFFF, 0x6988, "Objects of the secure messaging are wrong.",
     "The key is not the card's: --sm-key-file."},
    {0xFFFF, 0x6A80, "The data of the command are wrong.", ""},
    {0xFFFF, 0x6A81, "The card does not have this function.", ""},
    {0xFFFF, 0x6A82, "The file does not exist.", "Another kind of card? See: pindesk identify"},
    {0xFFFF, 0x6A83, "The record does not exist.", ""},
    {0xFFFF, 0x6A86, "The parameters of the command are wrong.", ""},
    {0xFFFF, 0x6A88, "The card has no such secret or key.",
     "The reference can be set: pindesk --help, --set"},
    {0xFFFF, 0x6B00, "The offset lies outside the file.", ""},
    {0xFFFF, 0x6D00, "The card does not know the command.", ""},
    {0xFFFF, 0x6E00, "The card does not know this class of commands.", ""},
    {0xFFFF, 0x6F00, "The card failed without saying why, or gave an empty answer.",
     "Take the card out and insert it again."},
};

// A result code is a decimal of up to three digits, with or without its minus.
bool ToResultCode(const std::string& text, long& code)
{
    const std::string digits = text.compare(0, 1, "-") == 0 ? text.substr(1) : text;
    if (digits.size() > 3 || !ToNumber(digits, DECIMAL, code) || code < 0) {
        return false;
    }
    code = -code;
    return true;
}

// A status word is four hexadecimal digits, or the decimal that the library returns for it.
bool ToStatusWord(const std::string& text, long& word)
{
    constexpr long FIRST = 0x6000, LAST = 0x9FFF;
    const bool hasPrefix = text.compare(0, 2, "0x") == 0 || text.compare(0, 2, "0X") == 0;
    const std::string digits = hasPrefix ? text.substr(2) : text;
    const int base = digits.size() == 5 && !hasPrefix ? DECIMAL : HEXADECIMAL;
    if (digits.size() < 4 || digits.size() > 5 || !ToNumber(digits, base, word)) {
        return false;
    }
    return word >= FIRST && word <= LAST;
}

Outcome Explained(const std::string& name, const char* meaning, const char* advice)
{
    Outcome outcome;
    outcome.output = name + ": " + meaning + "\n";
    if (*advice != '\0') {
        outcome.output += std::string(advice) + "\n";
    }
    outcome.fields = {{"meaning", meaning}, {"what_to_do", advice}};
    return outcome;
}

} // namespace

Outcome ExplainCode(const Options& options)
{
    long number = 0;
    if (ToResultCode(options.target, number) && FindCode(number) != nullptr) {
        const CodeMeaning& meaning = MeaningOf(number);
        Outcome outcome = Explained(std::to_string(number), meaning.meaning, meaning.advice);
        outcome.code = number;
        outcome.fields["exit_status_of_code"] = static_cast<int>(meaning.status);
        return outcome;
    }
    if (ToStatusWord(options.target, number)) {
        const auto word = static_cast<unsigned>(number);
        const auto* const found = std::find_if(
            std::begin(kStatusWords), std::end(kStatusWords),
            [word](const StatusWordMeaning& row) { return (word & row.mask) == row.word; });
        const bool isKnown = found != std::end(kStatusWords);
        Outcome outcome = Explained(StatusWordText(static_cast<std::uint16_t>(word)),
                                    isKnown ? found->meaning
                                            : "A status word without a meaning "
                                              "common to all cards.",
                                    isKnown ? found->advice : "");
        outcome.statusWord = static_cast<std::uint16_t>(word);
        return outcome;
    }
    throw CFailure(ExitStatus::Usage,
                   "explain takes a result code (-22 or 22) or a status word (63C2 or 0x63C2).",
                   "The manual lists the result codes: man pindesk");
}

} // namespace tool
