// SPDX-License-Identifier: Apache-2.0
//
// The in-process card of a program that links it.

#ifndef TESTS_SYSTEM_INPROCESS_H
#define TESTS_SYSTEM_INPROCESS_H

#include "tools/virtualcard/inprocess/control.h"

#include <cstdlib>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

inline constexpr char FIRST_READER[] = "PinDesk Virtual Reader 00 00";

/// Begins anew with these variables, named without their PINDESK_VCARD, and no others.
inline void Insert(const std::map<std::string, std::string>& variables)
{
    static std::set<std::string> s_known;
    for (const std::string& name : s_known) {
        unsetenv(name.c_str());
    }
    for (const auto& [end, value] : variables) {
        const std::string name = "PINDESK_VCARD" + end;
        setenv(name.c_str(), value.c_str(), 1);
        s_known.insert(name);
    }
    vcard_restart();
}

/// How often a secret of the card in a reader was presented.
inline int Presented(const char* szSecret, const char* szReader = FIRST_READER)
{
    std::string text(vcard_counters(nullptr, 0) + 1, '\0');
    vcard_counters(text.data(), text.size());
    return nlohmann::json::parse(text.c_str()).at(szReader).at(szSecret).at("presented");
}

#endif
