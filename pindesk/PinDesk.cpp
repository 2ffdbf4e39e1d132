// SPDX-License-Identifier: Apache-2.0
//
// The settings: filled with their defaults while the library is being loaded.

#include "pindesk/PinDesk.h"

#include "cardlib/ckdictionary.h"
#include "pindesk/settings.h"

CKDict g_settings_dict;

namespace {

struct SDefault {
    const char* szName;
    long lValue;
};

constexpr SDefault kDefaults[] = {
    {"SETTING_CNS_DS_DF_ROOT", 0x1400},   // DF of the signature application
    {"SETTING_CNS_DS_MAIN_FILE", 0x8100}, // for hosts; no operation reads it
    {"SETTING_CNS_PIN", 0x10},
    {"SETTING_CNS_PUK", 0x11},
    {"SETTING_CNS_DF0", 0x1000}, // DF of the card's identity
    {"SETTING_CNS_DF0_EF_ID_Carta", 0x1003},
    {"SETTING_CNS_DF1", 0x1100}, // DF of the authentication application
    {"SETTING_CNS_DS_PIN", 0x1A},
    {"SETTING_CNS_DS_PUK", 0x1B},
    {"SETTING_CNS_DS_KAUTH", 0x1C}, // administration key of the signature application
    {"SETTING_CNS_DS_DF", 0x8110},  // other identifier of the signature application
    {"SETTING_FASTFS_P11_DF", 0x2FFF},
};

struct st_initialize {
    st_initialize()
    {
        for (const SDefault& setting : kDefaults) {
            g_settings_dict[setting.szName] = new CKDictItem(setting.lValue);
        }
    }
};
// After g_settings_dict in this file, so that it is built after it.
const st_initialize g_initialize;

long Setting(const char* szName)
{
    return static_cast<long>(*g_settings_dict[szName]);
}

} // namespace

std::uint16_t FileIdSetting(const char* szName)
{
    return static_cast<std::uint16_t>(Setting(szName));
}

std::uint8_t ReferenceSetting(const char* szName)
{
    return static_cast<std::uint8_t>(Setting(szName));
}

long PINDESK_ChangeSetting(const char* szSettingName, long lVal)
{
    CKDictItem*& item = g_settings_dict[szSettingName];
    if (item == nullptr) {
        item = new CKDictItem(lVal);
    } else {
        item->assign(lVal);
    }
    return 0;
}
