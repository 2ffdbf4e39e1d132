// SPDX-License-Identifier: Apache-2.0

#include "readers.h"

#include "language.h"

#include <array>
#include <cstdio>

namespace tool {

namespace {

std::string StateOf(const pindesk_reader& reader)
{
    if (reader.is_mute != 0) {
        return Say("a card that does not answer");
    }
    if (reader.has_card == 0) {
        return Say("no card");
    }
    const std::string card = Say("card present") + "  " + AtrText(reader);
    return reader.is_exclusive != 0
               ? card + "  " + Say("in use by {programs}", {{"programs", reader.holders}})
               : card;
}

} // namespace

std::string Shown(const char* text)
{
    return desk::Fill("{text}", {{"text", text}});
}

std::string AtrText(const pindesk_reader& reader)
{
    std::string text;
    for (std::size_t i = 0; i < reader.atr_size; ++i) {
        std::array<char, 3> digits{};
        std::snprintf(digits.data(), digits.size(), "%02x", static_cast<unsigned>(reader.atr[i]));
        text += digits.data();
    }
    return text;
}

std::string LineOf(const pindesk_reader& reader)
{
    return std::to_string(reader.slot) + "  " + Shown(reader.name) + "  " + StateOf(reader);
}

Row FieldsOf(const pindesk_reader& reader)
{
    const bool hasAtr = reader.atr_size > 0;
    return {
        {"slot", long{reader.slot}},
        {"name", std::string(reader.name)},
        {"card_present", reader.has_card != 0},
        {"atr", hasAtr ? Value(AtrText(reader)) : Value()},
        {"kind", hasAtr ? Value(std::string(pindesk_kind_name(reader.kind))) : Value()},
        {"mute", reader.is_mute != 0},
        {"in_use", reader.is_in_use != 0},
        {"exclusive", reader.is_exclusive != 0},
        {"holders", *reader.holders == '\0' ? Value() : Value(std::string(reader.holders))},
    };
}

void AddReaders(const std::vector<pindesk_reader>& readers, Outcome& outcome)
{
    std::vector<Row> rows;
    for (const pindesk_reader& reader : readers) {
        outcome.output += LineOf(reader) + "\n";
        rows.push_back(FieldsOf(reader));
    }
    outcome.fields.push_back({"readers", rows});
}

} // namespace tool
