// SPDX-License-Identifier: Apache-2.0
//
// A run over the in-process card: its fault, and what the card's counters said before and after.

#ifndef TESTS_SWEEP_CARDNOTES_H
#define TESTS_SWEEP_CARDNOTES_H

#include "tools/virtualcard/inprocess/control.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <cstdlib>
#include <string>

constexpr std::size_t COUNTERS_SIZE = 2048;
constexpr unsigned ABSENCE = 30; // ms, of a card that is removed and put back

/// The counters of the card in the one reader, as text in memory that processes share.
inline void NoteCounters(char (&to)[COUNTERS_SIZE])
{
    std::string text(vcard_counters(nullptr, 0) + 1, '\0');
    vcard_counters(text.data(), text.size());
    text.pop_back();
    const nlohmann::json readers = nlohmann::json::parse(text);
    std::snprintf(to, sizeof to, "%s", readers.begin()->dump().c_str());
}

/// What a run did to the card.
struct SCardNotes {
    nlohmann::json before, after; ///< counters

    int Rise(const char* szSecret, const char* szCounter) const
    {
        return after.at(szSecret).at(szCounter).get<int>() -
               before.at(szSecret).at(szCounter).get<int>();
    }
    bool NewValue(const char* szSecret) const { return Rise(szSecret, "new_values") > 0; }
    bool Active() const { return after.at("ds-pin").at("active"); }
    bool Administered() const { return after.at("card").at("administration"); }

    static unsigned long Apdus(const nlohmann::json& counters)
    {
        return counters.at("card").at("apdus");
    }
    unsigned long Exchanges() const { return Apdus(after) - Apdus(before); }

    /// Secrets that a card of another serial number was sent.
    int ToAnotherCard() const
    {
        int nToOther = 0;
        const nlohmann::json otherCard = after.value("other-card", nlohmann::json::object());
        for (const auto& [strName, counts] : otherCard.items()) {
            nToOther += counts.value("presented", 0);
        }
        return nToOther;
    }
};

/// A fresh card with this fault at an exchange; counted from the first one, with those before.
inline void InsertCard(const char* szProfile, const std::string& strFault)
{
    setenv("PINDESK_VCARD_PROFILE", szProfile, 1);
    setenv("PINDESK_VCARD_ABSENCE", std::to_string(ABSENCE).c_str(), 1);
    if (!strFault.empty()) {
        setenv("PINDESK_VCARD_FAULT", strFault.c_str(), 1);
    }
    vcard_restart();
}

#endif
