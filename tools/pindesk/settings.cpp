// SPDX-License-Identifier: Apache-2.0
//
// The library takes any name and has no way to ask a value back, so a typing error would change
// nothing without a word: the names and ranges are checked here, and the values remembered.

#include "settings.h"

#include "numbers.h"
#include "outcome.h"
#include "pindesk/PinDesk.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace tool {

namespace {

constexpr long FILE_ID_MAX = 0xFFFF, REFERENCE_MAX = 0xFF;

struct Setting {
    const char* name;
    long value;
    long max;
};

std::array<Setting, 12> g_settings = {{
    {"SETTING_CNS_DS_DF_ROOT", 0x1400, FILE_ID_MAX},
    {"SETTING_CNS_DS_MAIN_FILE", 0x8100, FILE_ID_MAX},
    {"SETTING_CNS_PIN", 0x10, REFERENCE_MAX},
    {"SETTING_CNS_PUK", 0x11, REFERENCE_MAX},
    {"SETTING_CNS_DF0", 0x1000, FILE_ID_MAX},
    {"SETTING_CNS_DF0_EF_ID_Carta", 0x1003, FILE_ID_MAX},
    {"SETTING_CNS_DF1", 0x1100, FILE_ID_MAX},
    {"SETTING_CNS_DS_PIN", 0x1A, REFERENCE_MAX},
    {"SETTING_CNS_DS_PUK", 0x1B, REFERENCE_MAX},
    {"SETTING_CNS_DS_KAUTH", 0x1C, REFERENCE_MAX},
    {"SETTING_CNS_DS_DF", 0x8110, FILE_ID_MAX},
    {"SETTING_FASTFS_P11_DF", 0x2FFF, FILE_ID_MAX},
}};

Setting* Find(const std::string& name)
{
    const auto found = std::find_if(g_settings.begin(), g_settings.end(),
                                    [&](const Setting& setting) { return name == setting.name; });
    return found == g_settings.end() ? nullptr : &*found;
}

std::string Names()
{
    std::string names;
    for (const Setting& setting : g_settings) {
        names += std::string(" ") + setting.name;
    }
    return names;
}

bool ToValue(std::string_view text, long& value)
{
    const bool isHex = text.starts_with("0x") || text.starts_with("0X");
    return isHex ? ToNumber(text.substr(2), HEXADECIMAL, value) : ToNumber(text, DECIMAL, value);
}

void Apply(const std::string& assignment)
{
    const std::size_t equals = assignment.find('=');
    const std::string name = assignment.substr(0, equals);
    if (equals == std::string::npos) {
        throw CFailure(ExitStatus::Usage, "--set takes NAME=VALUE.");
    }
    Setting* const setting = Find(name);
    if (setting == nullptr) {
        throw CFailure(ExitStatus::Usage, "There is no setting " + name + ".",
                       "The settings are:" + Names());
    }
    long value = 0;
    if (!ToValue(std::string_view(assignment).substr(equals + 1), value) || value < 1 ||
        value > setting->max) {
        throw CFailure(ExitStatus::Usage, "--set " + name + " takes a number from 1 to " +
                                              std::to_string(setting->max) +
                                              ", decimal or hexadecimal after 0x.");
    }
    setting->value = value;
    PINDESK_ChangeSetting(setting->name, value);
}

} // namespace

void ApplySettings(const std::vector<std::string>& assignments)
{
    PINDESK_ChangeSetting("SETTING_TRY_GUARD", 1);
    for (const std::string& assignment : assignments) {
        Apply(assignment);
    }
}

long SettingValue(const std::string& name)
{
    const Setting* const setting = Find(name);
    if (setting == nullptr) {
        throw std::logic_error("no such setting");
    }
    return setting->value;
}

} // namespace tool
