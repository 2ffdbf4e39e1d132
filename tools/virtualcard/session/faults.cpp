// SPDX-License-Identifier: Apache-2.0
//
// Reads fault rules and counts APDUs.

#include "session/faults.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <string_view>

namespace vcard {
namespace {

using EKind = SFault::EKind;

struct SKindRow {
    std::string_view name;
    EKind kind;
    bool bAfter;
    std::size_t cDigits; // of the value that follows "=", 0 for none
};

constexpr SKindRow KINDS[] = {
    {"empty", EKind::EMPTY, true, 0},      {"empty-before", EKind::EMPTY, false, 0},
    {"short", EKind::SHORT, true, 0},      {"long", EKind::LONG, true, 0},
    {"removed", EKind::REMOVED, false, 0}, {"removed-after", EKind::REMOVED, true, 0},
    {"sw", EKind::STATUS_WORD, false, 4},  {"sw-after", EKind::STATUS_WORD, true, 4},
    {"pcsc", EKind::PCSC, false, 8},       {"pcsc-after", EKind::PCSC, true, 8},
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

std::optional<SFault> ParseKind(std::string_view text)
{
    const std::size_t equals = text.find('=');
    const auto* row = std::ranges::find(KINDS, text.substr(0, equals), &SKindRow::name);
    if (row == std::end(KINDS)) {
        return std::nullopt;
    }
    if (row->cDigits == 0) {
        return equals == text.npos ? std::optional(SFault{row->kind, row->bAfter, 0})
                                   : std::nullopt;
    }
    const std::string_view digits = equals == text.npos ? "" : text.substr(equals + 1);
    const auto value = digits.size() == row->cDigits ? Number(digits, 16) : std::nullopt;
    return value ? std::optional(SFault{row->kind, row->bAfter, *value}) : std::nullopt;
}

} // namespace

void CFaultPlan::Add(const std::string& strRule)
{
    const std::string_view rule = strRule;
    const std::size_t colon = rule.find(':');
    const auto number = Number(rule.substr(0, colon), 10);
    const auto fault = colon == rule.npos ? std::nullopt : ParseKind(rule.substr(colon + 1));
    if (!number || *number == 0 || !fault) {
        throw std::invalid_argument(
            "fault \"" + strRule +
            "\" is not N:KIND with N from 1 and KIND one of empty, empty-before, short, long, "
            "removed, removed-after, sw=XXXX, sw-after=XXXX, pcsc=XXXXXXXX, pcsc-after=XXXXXXXX");
    }
    if (!m_faults.emplace(*number, *fault).second) {
        throw std::invalid_argument("two faults for APDU " + std::to_string(*number));
    }
}

bool CFaultPlan::NeedsPcsc() const
{
    return std::ranges::any_of(m_faults,
                               [](const auto& entry) { return entry.second.kind == EKind::PCSC; });
}

std::optional<SFault> CFaultPlan::Next()
{
    const auto found = m_faults.find(++m_ulApdus);
    return found == m_faults.end() ? std::nullopt : std::optional(found->second);
}

} // namespace vcard
