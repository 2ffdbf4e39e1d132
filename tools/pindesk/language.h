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

/// What one of the desk's functions says in that language.
template <typename Function, typename... Arguments>
std::string InWords(Function function, Arguments... arguments)
{
    std::string text(function(arguments..., Language(), nullptr, 0), '\0');
    function(arguments..., Language(), text.data(), text.size() + 1);
    return text;
}

} // namespace tool

#endif
