// SPDX-License-Identifier: Apache-2.0
//
// The verbs that only look: readers, serial, status, limits, identify.

#include "attempt.h"
#include "explain.h"
#include "known_atrs.h"
#include "pindesk/PCSC_Misc.h"
#include "verbs.h"

#include <algorithm>

namespace tool {

namespace {

using Json = nlohmann::ordered_json;

std::string Padded(std::string text, std::size_t width)
{
    text.resize(std::max(width, text.size()), ' ');
    return text;
}

const char* StateWord(const Tries& tries)
{
    switch (tries.state) {
    case Tries::State::Left:
        return "ready";
    case Tries::State::Blocked:
        return "blocked";
    case Tries::State::AlreadyVerified:
        return "verified";
    case Tries::State::Deactivated:
        return "deactivated";
    case Tries::State::Untold:
    case Tries::State::Lost:
        break;
    }
    return "unknown";
}

std::string StateText(const Secret& secret, const Tries& tries)
{
    switch (tries.state) {
    case Tries::State::Left:
        return TriesText(tries.left);
    case Tries::State::Blocked:
        return std::string("blocked. ") + secret.remedy;
    case Tries::State::AlreadyVerified:
        return "already verified; the card does not tell the tries";
    case Tries::State::Deactivated:
        return "deactivated. Bring it back with: pindesk reactivate";
    case Tries::State::Untold:
    case Tries::State::Lost:
        break;
    }
    return "the card does not tell (status word " + StatusWordText(tries.statusWord) + ")";
}

struct Layout {
    long code;
    const char* text;
};
constexpr Layout kLayouts[] = {
    {layout::UNKNOWN, "no layout that is known here"},
    {layout::CNS, "CNS application, no signature application"},
    {layout::CNS_AND_DS, "CNS and signature applications"},
    {layout::OTHER_DS, "signature application alone"},
    {layout::FAST_FILES, "fast PKCS#11 file system"},
    {layout::DF_1111, "PIN in DF 1111: pindesk unblock --family"},
    {layout::WITH_DF_1112, "DF 1112 with EF EF01 beside the other applications"},
};

const char* LayoutText(long code)
{
    const auto* const found =
        std::find_if(std::begin(kLayouts), std::end(kLayouts),
                     [code](const Layout& candidate) { return candidate.code == code; });
    return found == std::end(kLayouts) ? "an unknown code" : found->text;
}

} // namespace

Outcome ShowReaders(const Options&)
{
    Outcome outcome;
    outcome.fields["readers"] = Json::array();
    for (const Reader& reader : ListReaders()) {
        outcome.output += std::to_string(reader.slot) + "  " + reader.name + "  " +
                          (reader.hasCard ? "card present  " + reader.atr : "no card") + "\n";
        outcome.fields["readers"].push_back({{"slot", reader.slot},
                                             {"name", reader.name},
                                             {"card_present", reader.hasCard},
                                             {"atr", reader.hasCard ? Json(reader.atr) : Json()}});
    }
    return outcome;
}

Outcome ShowSerial(const Options& options)
{
    const Reader reader = LocateCard(options);
    std::array<char, 17> serial{};
    const long code = CNS_GetSerial(reader.slot, serial.data());
    if (code == result::OK) {
        Outcome outcome;
        outcome.output = std::string(serial.data()) + "\n";
        outcome.fields = {
            {"slot", reader.slot}, {"reader", reader.name}, {"serial", serial.data()}};
        return outcome;
    }
    const Contact contact = ContactWith(reader.name);
    if (contact != Contact::Answers) {
        return ContactOutcome(contact, reader.name, code);
    }
    return ExplainedOutcome(code);
}

Outcome ShowStatus(const Options& options)
{
    const Reader reader = LocateCard(options);
    CCardQuery card(reader.name);
    if (card.State() != Contact::Answers) {
        return ContactOutcome(card.State(), reader.name, std::nullopt);
    }
    Outcome outcome;
    outcome.fields = {{"slot", reader.slot}, {"reader", reader.name}, {"secrets", Json::array()}};
    for (const Secret& secret : kSecrets) {
        const Tries tries = card.Ask(secret);
        if (tries.state == Tries::State::Lost) {
            return ContactOutcome(card.WhySilent(), reader.name, std::nullopt);
        }
        outcome.output += Padded(secret.title, 9) + StateText(secret, tries) + "\n";
        outcome.fields["secrets"].push_back(
            {{"name", secret.word},
             {"state", StateWord(tries)},
             {"tries_left", tries.IsTold() ? Json(tries.left) : Json()},
             {"status_word", StatusWordText(tries.statusWord)}});
    }
    return outcome;
}

Outcome ShowLimits(const Options& options)
{
    std::string serial = options.serial;
    const long slot = serial.empty() ? std::max(options.slot, 1L) : LocateCard(options).slot;
    const auto limits = ReportedLimits(slot, serial.empty() ? nullptr : serial.data());
    Outcome outcome;
    outcome.fields["limits"] = Json::array();
    for (const Secret& secret : kSecrets) {
        const auto [min, max] = limits[secret.position];
        outcome.output += Padded(secret.title, 9) + LengthText({min, max}) + "\n";
        outcome.fields["limits"].push_back({{"name", secret.word}, {"min", min}, {"max", max}});
    }
    return outcome;
}

Outcome IdentifyCard(const Options& options)
{
    const Reader reader = LocateCard(options);
    long type = layout::UNKNOWN;
    const long code = PCSC_GetFSType(reader.slot, &type);
    if (code < 0) {
        return ContactOutcome(CCardQuery(reader.name).WhySilent(), reader.name, code);
    }
    const char* const match = KnownAtr(reader.atr);
    Outcome outcome;
    outcome.output = "layout     " + std::to_string(type) + ": " + LayoutText(type) +
                     "\nATR        " + reader.atr + "\nATR match  " +
                     (match == nullptr ? "none" : match) + "\n";
    outcome.fields = {
        {"slot", reader.slot}, {"reader", reader.name},
        {"layout", type},      {"layout_text", LayoutText(type)},
        {"atr", reader.atr},   {"atr_match", match == nullptr ? Json() : Json(match)}};
    return outcome;
}

} // namespace tool
