// SPDX-License-Identifier: Apache-2.0
//
// The library takes any name, so that a typing error would change nothing without a word: names and
// ranges are checked here.

#include "settings.h"

#include "language.h"
#include "numbers.h"
#include "outcome.h"
#include "pindesk/PinDesk.h"

#include <algorithm>

namespace tool {

namespace {

constexpr long FILE_ID_MAX = 0xFFFF, REFERENCE_MAX = 0xFF;

struct Setting {
    const char* name;
    long max;
};
constexpr Setting SETTINGS[] = {
    {"SETTING_CNS_DS_DF_ROOT", FILE_ID_MAX}, {"SETTING_CNS_DS_MAIN_FILE", FILE_ID_MAX},
    {"SETTING_CNS_PIN", REFERENCE_MAX},      {"SETTING_CNS_PUK", REFERENCE_MAX},
    {"SETTING_CNS_DF0", FILE_ID_MAX},        {"SETTING_CNS_DF0_EF_ID_Carta", FILE_ID_MAX},
    {"SETTING_CNS_DF1", FILE_ID_MAX},        {"SETTING_CNS_DS_PIN", REFERENCE_MAX},
    {"SETTING_CNS_DS_PUK", REFERENCE_MAX},   {"SETTING_CNS_DS_KAUTH", REFERENCE_MAX},
    {"SETTING_CNS_DS_DF", FILE_ID_MAX},      {"SETTING_FASTFS_P11_DF", FILE_ID_MAX},
};

bool ToValue(std::string_view text, long& value)
{
    const bool isHex = text.starts_with("0x") || text.starts_with("0X");
    return isHex ? ToNumber(text.substr(2), HEXADECIMAL, value) : ToNumber(text, DECIMAL, value);
}

std::string Names()
{
    std::string names;
    for (const Setting& setting : SETTINGS) {
        names += std::string(names.empty() ? "" : " ") + setting.name;
    }
    return names;
}

void Apply(const std::string& assignment)
{
    const std::size_t equals = assignment.find('=');
    const std::string name = assignment.substr(0, equals);
    if (equals == std::string::npos) {
        RefuseUsage(Say("--set takes NAME=VALUE."));
    }
    const auto* const setting =
        std::find_if(std::begin(SETTINGS), std::end(SETTINGS),
                     [&](const Setting& candidate) { return name == candidate.name; });
    if (setting == std::end(SETTINGS)) {
        RefuseUsage(Say("There is no setting {name}.", {{"name", name}}),
                    Say("The settings are: {names}", {{"names", Names()}}));
    }
    long value = 0;
    if (!ToValue(std::string_view(assignment).substr(equals + 1), value) || value < 1 ||
        value > setting->max) {
        RefuseUsage(Say("--set {name} takes a number from 1 to {max}, decimal or hexadecimal after "
                        "0x.",
                        {{"name", name}, {"max", std::to_string(setting->max)}}));
    }
    PINDESK_ChangeSetting(setting->name, value);
}

} // namespace

void ApplySettings(const std::vector<std::string>& assignments)
{
    for (const std::string& assignment : assignments) {
        Apply(assignment);
    }
}

} // namespace tool
