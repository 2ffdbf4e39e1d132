// SPDX-License-Identifier: Apache-2.0
//
// Reads fault rules and counts APDUs.

#include "plugged/faults.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <stdexcept>

namespace vcard {
namespace {

using EKind = SFault::EKind;

constexpr unsigned long FOR_EVER = std::numeric_limits<unsigned long>::max();
constexpr std::uint32_t LONGEST_ANSWER = 0xFFFF;

struct SEventRow {
    std::string_view name;
    EEvent event;
};

constexpr SEventRow EVENTS[] = {
    {"removed", EEvent::REMOVED}, {"pulled", EEvent::PULLED}, {"swapped", EEvent::SWAPPED},
    {"reset", EEvent::RESET},     {"killed", EEvent::KILLED}, {"restarted", EEvent::RESTARTED},
};

struct SKindRow {
    std::string_view name;
    std::size_t cHex; // digits of the value that follows "=", 0 for another value or none
    EKind kind;
    bool bAfter;         // unless the rule says otherwise
    bool bCount = false; // the value is a number of bytes
};

constexpr SKindRow KINDS[] = {
    {"empty", 0, EKind::BYTES, true}, {"bytes", 0, EKind::BYTES, true, true},
    {"mac", 0, EKind::MAC, true},     {"sw", 4, EKind::STATUS_WORD, false},
    {"pcsc", 8, EKind::PCSC, false},
};

/// The whole text as a number, or nothing.
std::optional<std::uint32_t> Number(std::string_view text, int iBase)
{
    std::uint32_t ulValue = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), ulValue, iBase);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return ulValue;
}

/// Takes an end off a text; false where the text has another.
bool TakeEnd(std::string_view& text, std::string_view end)
{
    if (!text.ends_with(end)) {
        return false;
    }
    text.remove_suffix(end.size());
    return true;
}

/// The value behind a kind's "=", 0 for a kind without one, or nothing where it is wrong.
std::optional<std::uint32_t> ValueOf(const SKindRow& row, std::optional<std::string_view> text)
{
    const bool bWanted = row.bCount || row.cHex > 0;
    if (bWanted != text.has_value()) {
        return std::nullopt;
    }
    if (!bWanted) {
        return 0;
    }
    if (row.bCount) {
        const auto count = Number(*text, 10);
        return count && *count <= LONGEST_ANSWER ? count : std::nullopt;
    }
    return text->size() == row.cHex ? Number(*text, 16) : std::nullopt;
}

std::optional<SFault> ParseKind(std::string_view text)
{
    const std::size_t equals = text.find('=');
    std::string_view name = text.substr(0, equals);
    const bool bAfter = TakeEnd(name, "-after");
    const bool bBefore = !bAfter && TakeEnd(name, "-before");
    const auto value = equals == text.npos ? std::nullopt : std::optional(text.substr(equals + 1));
    if (const EEvent event = EventNamed(name); event != EEvent::NONE && !value) {
        return SFault{EKind::EVENT, bAfter, 0, event};
    }
    const auto* row = std::ranges::find(KINDS, name, &SKindRow::name);
    const auto number = row == std::end(KINDS) ? std::nullopt : ValueOf(*row, value);
    return number ? std::optional(SFault{row->kind, bAfter || (row->bAfter && !bBefore), *number})
                  : std::nullopt;
}

} // namespace

EEvent EventNamed(std::string_view name)
{
    const auto* row = std::ranges::find(EVENTS, name, &SEventRow::name);
    return row == std::end(EVENTS) ? EEvent::NONE : row->event;
}

void CFaultPlan::Add(const std::string& strRule)
{
    const std::string_view rule = strRule;
    const std::size_t colon = rule.find(':');
    std::string_view first = rule.substr(0, colon);
    const bool bForEver = TakeEnd(first, "+");
    const auto number = Number(first, 10);
    const auto fault = colon == rule.npos ? std::nullopt : ParseKind(rule.substr(colon + 1));
    if (!number || *number == 0 || !fault) {
        throw std::invalid_argument(
            "expected N:KIND or N+:KIND with N from 1 and KIND one of empty, bytes=N, mac, "
            "sw=XXXX, pcsc=XXXXXXXX, removed, pulled, swapped, reset, killed, restarted, each with "
            "-before or -after if wanted");
    }
    const SRule added{*number, bForEver ? FOR_EVER : *number, *fault};
    if (std::ranges::any_of(m_rules, [&](const SRule& other) {
            return added.ulFirst <= other.ulLast && other.ulFirst <= added.ulLast;
        })) {
        throw std::invalid_argument("expected one fault for each APDU");
    }
    m_rules.push_back(added);
}

bool CFaultPlan::NeedsOwnService() const
{
    return std::ranges::any_of(m_rules, [](const SRule& rule) {
        return rule.fault.kind == EKind::PCSC || rule.fault.event >= EEvent::RESET;
    });
}

std::optional<SFault> CFaultPlan::Next()
{
    ++m_ulApdus;
    const auto found = std::ranges::find_if(m_rules, [&](const SRule& rule) {
        return rule.ulFirst <= m_ulApdus && m_ulApdus <= rule.ulLast;
    });
    return found == m_rules.end() ? std::nullopt : std::optional(found->fault);
}

} // namespace vcard
