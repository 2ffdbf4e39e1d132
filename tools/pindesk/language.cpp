// SPDX-License-Identifier: Apache-2.0
//
// Chosen before the command line is parsed, so that its errors are told in the language too.

#include "language.h"

#include <cstdlib>
#include <string_view>

namespace tool {

namespace {

constexpr const char* VARIABLES[] = {"LC_ALL", "LC_MESSAGES", "LANGUAGE", "LANG"};

std::string& Tag()
{
    static std::string tag;
    return tag;
}

std::string FromEnvironment()
{
    for (const char* const variable : VARIABLES) {
        const char* const value = std::getenv(variable);
        if (value != nullptr && *value != '\0') {
            const std::string_view list = value; // LANGUAGE has several, the best one first
            return std::string(list.substr(0, list.find(':')));
        }
    }
    return {};
}

} // namespace

void ChooseLanguage(int argc, char** argv)
{
    constexpr std::string_view OPTION = "--lang";
    Tag() = FromEnvironment();
    for (int i = 1; i < argc; ++i) {
        const std::string_view word = argv[i];
        if (word == OPTION && i + 1 < argc) {
            Tag() = argv[i + 1];
        } else if (word.starts_with(OPTION) && word.substr(OPTION.size()).starts_with('=')) {
            Tag() = word.substr(OPTION.size() + 1);
        }
    }
}

const char* Language()
{
    return Tag().c_str();
}

std::string Say(const char* text, std::initializer_list<desk::SGap> gaps)
{
    return desk::Fill(desk::Tr(Language(), text), gaps);
}

std::string Count(const char* one, const char* many, long n)
{
    return desk::Fill(desk::TrN(Language(), one, many, static_cast<unsigned long>(n)),
                      {{"n", std::to_string(n)}});
}

} // namespace tool
