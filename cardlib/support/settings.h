// SPDX-License-Identifier: Apache-2.0
//
// The settings of the library: their names and defaults, and how the library reads them. Their
// values live in g_settings_dict, where hosts may change, add and erase them. Internal.

#ifndef CARDLIB_SUPPORT_SETTINGS_H
#define CARDLIB_SUPPORT_SETTINGS_H

#include <array>
#include <cstddef>
#include <cstdint>

enum class ESetting : std::uint8_t {
    DsRoot,     ///< DF of the signature application
    DsMainFile, ///< for hosts; nothing here reads it
    CnsPin,
    CnsPuk,
    IdentityDf,
    SerialNumberFile, ///< EF of the identity DF
    CnsDf,
    DsPin,
    DsPuk,
    DsAdminKey,
    OtherDsDf,
    FastFiles,
    TryGuard, ///< absent until a host switches it on
};

constexpr long MAX_FILE_ID = 0xFFFF, MAX_REFERENCE = 0xFF, MAX_FLAG = 1;

struct SSetting {
    const char* szName;
    long lDefault; ///< also in force when a host has erased the name; 0: not there at the start
    long lMax;     ///< the largest value that reaches a card whole
};

/// In the order of ESetting, which is the order in which start-up inserts them.
constexpr SSetting SETTINGS[] = {
    {.szName = "SETTING_CNS_DS_DF_ROOT", .lDefault = 0x1400, .lMax = MAX_FILE_ID},
    {.szName = "SETTING_CNS_DS_MAIN_FILE", .lDefault = 0x8100, .lMax = MAX_FILE_ID},
    {.szName = "SETTING_CNS_PIN", .lDefault = 0x10, .lMax = MAX_REFERENCE},
    {.szName = "SETTING_CNS_PUK", .lDefault = 0x11, .lMax = MAX_REFERENCE},
    {.szName = "SETTING_CNS_DF0", .lDefault = 0x1000, .lMax = MAX_FILE_ID},
    {.szName = "SETTING_CNS_DF0_EF_ID_Carta", .lDefault = 0x1003, .lMax = MAX_FILE_ID},
    {.szName = "SETTING_CNS_DF1", .lDefault = 0x1100, .lMax = MAX_FILE_ID},
    {.szName = "SETTING_CNS_DS_PIN", .lDefault = 0x1A, .lMax = MAX_REFERENCE},
    {.szName = "SETTING_CNS_DS_PUK", .lDefault = 0x1B, .lMax = MAX_REFERENCE},
    {.szName = "SETTING_CNS_DS_KAUTH", .lDefault = 0x1C, .lMax = MAX_REFERENCE},
    {.szName = "SETTING_CNS_DS_DF", .lDefault = 0x8110, .lMax = MAX_FILE_ID},
    {.szName = "SETTING_FASTFS_P11_DF", .lDefault = 0x2FFF, .lMax = MAX_FILE_ID},
    {.szName = "SETTING_TRY_GUARD", .lDefault = 0, .lMax = MAX_FLAG},
};
constexpr std::size_t SETTING_COUNT = sizeof SETTINGS / sizeof SETTINGS[0];
static_assert(SETTING_COUNT == static_cast<std::size_t>(ESetting::TryGuard) + 1);

/// A setting as a file identifier: its low 16 bits. Like the two below it allocates nothing, never
/// fails, and reads the values of the thread's snapshot if there is one.
std::uint16_t FileId(ESetting eSetting);
/// A setting as the reference of a PIN, PUK or key: its low 8 bits.
std::uint8_t Reference(ESetting eSetting);
/// Whether a setting is other than 0.
bool Flag(ESetting eSetting);

/// Gives a setting a value, in place and atomically where it has one already; a name that nothing
/// reads is accepted. Throws std::bad_alloc when there is no memory for a new one.
void ChangeSetting(const char* szName, long lVal);

/// Freezes the settings for this thread until the end of the scope, so that one operation works
/// with one set of values whatever other threads change meanwhile. Within another such scope it
/// keeps that one's values.
class CSettingsSnapshot {
public:
    CSettingsSnapshot();
    ~CSettingsSnapshot();
    CSettingsSnapshot(const CSettingsSnapshot&) = delete;
    CSettingsSnapshot& operator=(const CSettingsSnapshot&) = delete;

    long operator[](ESetting eSetting) const
    {
        return m_alValues[static_cast<std::size_t>(eSetting)];
    }

private:
    const CSettingsSnapshot* m_pOuter;
    std::array<long, SETTING_COUNT> m_alValues;
};

#endif
