// SPDX-License-Identifier: Apache-2.0
//
// The dictionary of settings: filled while the library is being loaded, read without allocating.

#include "cardlib/support/settings.h"

#include "cardlib/ckdictionary.h"

#include <algorithm>
#include <mutex>

CKDict g_settings_dict;

namespace {

struct st_initialize {
    st_initialize()
    {
        for (const SSetting& setting : SETTINGS) {
            if (setting.lDefault != 0) {
                g_settings_dict[setting.szName] = new CKDictItem(setting.lDefault);
            }
        }
    }
};
// After g_settings_dict in this file, so that it is built after it.
const st_initialize g_initialize;

/// Held while the library looks at the dictionary or inserts into it.
std::mutex g_mutex;

thread_local const CSettingsSnapshot* t_pSnapshot = nullptr;

/// The item under a name; null without one. Unlike the dictionary's own access this neither builds
/// a key nor inserts it.
CKDictItem* Find(const char* szName)
{
    const auto entry = std::find_if(g_settings_dict.begin(), g_settings_dict.end(),
                                    [&](const auto& item) { return item.first == szName; });
    return entry == g_settings_dict.end() ? nullptr : entry->second;
}

long Read(const SSetting& setting)
{
    const CKDictItem* const pItem = Find(setting.szName);
    return pItem == nullptr ? setting.lDefault : static_cast<long>(*pItem);
}

long Value(ESetting eSetting)
{
    if (t_pSnapshot != nullptr) {
        return (*t_pSnapshot)[eSetting];
    }
    const std::scoped_lock lock(g_mutex);
    return Read(SETTINGS[static_cast<std::size_t>(eSetting)]);
}

} // namespace

std::uint16_t FileId(ESetting eSetting)
{
    return static_cast<std::uint16_t>(Value(eSetting));
}

std::uint8_t Reference(ESetting eSetting)
{
    return static_cast<std::uint8_t>(Value(eSetting));
}

bool Flag(ESetting eSetting)
{
    return Value(eSetting) != 0;
}

void ChangeSetting(const char* szName, long lVal)
{
    const std::scoped_lock lock(g_mutex);
    if (CKDictItem* const pItem = Find(szName); pItem != nullptr) {
        pItem->assign(lVal);
        return;
    }
    g_settings_dict[szName] = new CKDictItem(lVal);
}

CSettingsSnapshot::CSettingsSnapshot() : m_pOuter(t_pSnapshot), m_alValues()
{
    if (m_pOuter != nullptr) {
        m_alValues = m_pOuter->m_alValues;
    } else {
        const std::scoped_lock lock(g_mutex);
        std::transform(std::begin(SETTINGS), std::end(SETTINGS), m_alValues.begin(), Read);
    }
    t_pSnapshot = this;
}

CSettingsSnapshot::~CSettingsSnapshot()
{
    t_pSnapshot = m_pOuter;
}
