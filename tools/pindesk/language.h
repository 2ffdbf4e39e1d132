// SPDX-License-Identifier: Apache-2.0
//
// The language that a person is answered in.

#ifndef TOOLS_PINDESK_LANGUAGE_H
#define TOOLS_PINDESK_LANGUAGE_H

#include "desk/words.h"

#include <string>

namespace tool {

/// Takes the language of --lang, or of the first of LC_ALL, LC_MESSAGES, LANGUAGE and LANG that is
/// set.
void ChooseLanguage(int argc, char** argv);

/// A language tag, as the desk takes it.
const char* Language();

/// A text in that language, its gaps filled.
std::string Say(const char* text, std::initializer_list<desk::SGap> gaps = {});

/// A text for a number of things; {n} is the number.
std::string Count(const char* one, const char* many, long n);

/// What one of the desk's functions says in a language.
template <typename Function, typename... Arguments>
std::string InLanguage(const char* language, Function function, Arguments... arguments)
{
    std::string text(function(arguments..., language, nullptr, 0), '\0');
    function(arguments..., language, text.data(), text.size() + 1);
    return text;
}

/// In the language of the person.
template <typename Function, typename... Arguments>
std::string InWords(Function function, Arguments... arguments)
{
    return InLanguage(Language(), function, arguments...);
}

/// As scripts read it.
template <typename Function, typename... Arguments>
std::string InEnglish(Function function, Arguments... arguments)
{
    return InLanguage(nullptr, function, arguments...);
}

} // namespace tool

#endif
