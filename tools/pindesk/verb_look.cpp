// SPDX-License-Identifier: Apache-2.0
//
// The verbs that only look: readers, serial, status, limits, identify.

#include "client.h"
#include "columns.h"
#include "language.h"
#include "readers.h"
#include "report.h"
#include "values.h"
#include "verbs.h"

#include <algorithm>

namespace tool {

namespace {

using desk::Msg;

constexpr long NO_READER_CODE = -2; // with which the library's list ends that has none

struct Watching {
    const Options& options;
    bool isHeard;
};

struct EventText {
    pindesk_event event;
    const char* text;
};
constexpr EventText EVENTS[] = {
    {PINDESK_READER_CAME, Msg("reader connected")},
    {PINDESK_READER_WENT, Msg("reader gone")},
    {PINDESK_CARD_CAME, Msg("card inserted")},
    {PINDESK_CARD_WENT, Msg("card removed")},
};

int ReportChange(pindesk_event event, const pindesk_reader* reader, void* context)
{
    auto* const watching = static_cast<Watching*>(context);
    const auto* const row =
        std::find_if(std::begin(EVENTS), std::end(EVENTS),
                     [event](const EventText& candidate) { return candidate.event == event; });
    Row fields = {{"event", pindesk_event_name(event)}};
    const Row ofReader = FieldsOf(*reader);
    fields.insert(fields.end(), ofReader.begin(), ofReader.end());
    watching->isHeard = ReportEvent(
        watching->options,
        Padded(row == std::end(EVENTS) ? "" : Say(row->text), 18) + LineOf(*reader), fields);
    return watching->isHeard ? 0 : 1;
}

Outcome Watch(const Options& options)
{
    CClient client(options);
    Watching watching = {options, true};
    client.Call([&](pindesk_desk* desk, const pindesk_options* call, pindesk_report* report) {
        return pindesk_watch(desk, call, ReportChange, &watching, report);
    });
    Outcome outcome;
    outcome.isReported = true;
    return outcome;
}

pindesk_card Card(CClient& client,
                  pindesk_outcome (*look)(pindesk_desk*, const pindesk_options*, pindesk_card*,
                                          pindesk_report*),
                  Outcome& outcome)
{
    pindesk_card card{};
    card.size = sizeof card;
    const pindesk_report report =
        client.Call([&](pindesk_desk* desk, const pindesk_options* call, pindesk_report* filled) {
            return look(desk, call, &card, filled);
        });
    outcome.fields = {{"slot", long{report.slot}}, {"reader", std::string(report.reader)}};
    return card;
}

std::string Protocols(const pindesk_card& card)
{
    const std::string t0 = card.speaks_t0 != 0 ? "T=0" : "";
    const std::string t1 = card.speaks_t1 != 0 ? "T=1" : "";
    return t0 + (t0.empty() || t1.empty() ? "" : ", ") + t1;
}

std::string Speed(const pindesk_card& card)
{
    if (card.bits_per_second == 0) {
        return Say("not told");
    }
    return Say("{bits} bit/s at 4 MHz (Fi {fi}, Di {di})",
               {{"bits", std::to_string(card.bits_per_second)},
                {"fi", std::to_string(card.clock_factor)},
                {"di", std::to_string(card.rate_factor)}});
}

} // namespace

Outcome ShowReaders(const Options& options)
{
    if (options.isWatch) {
        return Watch(options);
    }
    if (options.waitMs != 0) {
        RefuseUsage(Say("Here --wait needs --watch."));
    }
    CClient client(options);
    std::vector<pindesk_reader> readers;
    client.Call([&](pindesk_desk* desk, const pindesk_options* call, pindesk_report* report) {
        return pindesk_readers(desk, call, Collect<pindesk_reader>, &readers, report);
    });
    Outcome outcome;
    AddReaders(readers, outcome);
    if (readers.empty()) {
        outcome.status = PINDESK_NO_READER;
        outcome.code = NO_READER_CODE;
        outcome.message = Say("There is no card reader.");
        outcome.advice = Say("Connect one. Why one is not seen: pindesk doctor");
    }
    return outcome;
}

Outcome ShowSerial(const Options& options)
{
    CClient client(options);
    Outcome outcome;
    const pindesk_card card = Card(client, pindesk_serial, outcome);
    outcome.output = Shown(card.serial) + "\n";
    outcome.fields.push_back({"serial", std::string(card.serial)});
    return outcome;
}

Outcome ShowStatus(const Options& options)
{
    CClient client(options);
    States states;
    const pindesk_report report =
        client.Call([&](pindesk_desk* desk, const pindesk_options* call, pindesk_report* filled) {
            return pindesk_status(desk, call, Collect<pindesk_secret_status>, &states, filled);
        });
    Outcome outcome;
    outcome.output = StatusLines(states);
    std::vector<Row> rows;
    for (const pindesk_secret_status& status : states) {
        rows.push_back(
            {{"name", pindesk_secret_name(status.secret)},
             {"state", StateName(status.state)},
             {"tries_left", status.tries_left < 0 ? Value() : Value(long{status.tries_left})},
             {"status_word",
              status.status_word < 0
                  ? Value()
                  : Value(StatusWordText(static_cast<std::uint16_t>(status.status_word)))}});
    }
    outcome.fields = {{"slot", long{report.slot}},
                      {"reader", std::string(report.reader)},
                      {"serial", std::string(report.serial)},
                      {"secrets", rows}};
    if (std::any_of(states.begin(), states.end(), [](const pindesk_secret_status& status) {
            return status.state == PINDESK_STATE_VERIFIED;
        })) {
        outcome.message = Say("A secret that is verified does not tell its tries.");
        outcome.advice = Say("Once no other program uses the card: pindesk status --reset");
    }
    return outcome;
}

Outcome ShowLimits(const Options&)
{
    Outcome outcome;
    std::vector<Row> rows;
    for (const pindesk_secret secret : CARD_SECRETS) {
        const Limits limits = LimitsOf(secret);
        outcome.output += Padded(TitleOf(secret), TitleWidth()) + LengthText(limits, false) + "\n";
        rows.push_back({{"name", pindesk_secret_name(secret)},
                        {"min", long{limits.min}},
                        {"max", long{limits.max}}});
    }
    outcome.fields = {{"limits", rows}};
    return outcome;
}

Outcome IdentifyCard(const Options& options)
{
    CClient client(options);
    Outcome outcome;
    const pindesk_card card = Card(client, pindesk_identify, outcome);
    const bool isKnown = card.reader.kind != PINDESK_KIND_UNKNOWN;
    const std::string atr = AtrText(card.reader);
    const std::pair<std::string, std::string> LINES[] = {
        {Say("layout"),
         std::to_string(card.layout) + ": " + InWords(pindesk_layout_text, card.layout)},
        {Say("kind"), InWords(pindesk_kind_text, card.reader.kind)},
        {Say("chip"), *card.chip == '\0' ? Say("not known") : std::string(card.chip)},
        {Say("protocols"), Protocols(card)},
        {Say("speed"), Speed(card)},
        {"ATR", atr},
        {Say("serial number"), Shown(card.serial)},
    };
    for (const auto& [name, value] : LINES) {
        outcome.output += Padded(name, 16) + value + "\n";
    }
    const Row ofCard = {
        {"layout", long{card.layout}},
        {"layout_text", InEnglish(pindesk_layout_text, card.layout)},
        {"atr", atr},
        {"atr_match", isKnown ? Value(InEnglish(pindesk_kind_text, card.reader.kind)) : Value()},
        {"kind", std::string(pindesk_kind_name(card.reader.kind))},
        {"chip", *card.chip == '\0' ? Value() : Value(std::string(card.chip))},
        {"protocols", Protocols(card)},
        {"clock_factor", long{card.clock_factor}},
        {"rate_factor", long{card.rate_factor}},
        {"bits_per_second", long{card.bits_per_second}},
        {"historical", std::string(card.historical)},
        {"serial", *card.serial == '\0' ? Value() : Value(std::string(card.serial))},
    };
    outcome.fields.insert(outcome.fields.end(), ofCard.begin(), ofCard.end());
    return outcome;
}

} // namespace tool
