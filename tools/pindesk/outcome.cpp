// SPDX-License-Identifier: Apache-2.0
//
// The names of the exit statuses, and status words as text.

#include "outcome.h"

#include <array>
#include <cstdio>

namespace tool {

const char* ResultName(ExitStatus status)
{
    static constexpr std::array kNames = {
        "done",
        "usage",
        "refused",
        "wrong_secret",
        "blocked",
        "no_reader",
        "no_card",
        "in_use",
        "no_service",
        "other_card",
        "secure_messaging_refused",
        "card_refused",
        "outcome_unknown",
        "internal_error",
    };
    return kNames.at(static_cast<std::size_t>(status));
}

std::string StatusWordText(std::uint16_t statusWord)
{
    std::array<char, 5> text{};
    std::snprintf(text.data(), text.size(), "%04X", static_cast<unsigned>(statusWord));
    return text.data();
}

} // namespace tool
