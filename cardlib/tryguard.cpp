// SPDX-License-Identifier: Apache-2.0

#include "cardlib/tryguard.h"

#include "cardlib/apdu.h"
#include "cardlib/ckdictionary.h"

namespace {

constexpr std::uint8_t kSecretCarriers[] = {ins::VERIFY, ins::CHANGE_REFERENCE_DATA,
                                            ins::RESET_RETRY_COUNTER, ins::EXTERNAL_AUTHENTICATE};

/// A header, or a query for the tries left, carries no data and so no secret.
bool CarriesSecret(const CK_BYTE* pbCommand, DWORD cbCommand)
{
    return cbCommand > CCommandApdu::HEADER &&
           std::find(std::begin(kSecretCarriers), std::end(kSecretCarriers), pbCommand[1]) !=
               std::end(kSecretCarriers);
}

/// Looks the setting up without inserting it.
bool GuardIsOn()
{
    const auto entry = g_settings_dict.find("SETTING_TRY_GUARD");
    return entry != g_settings_dict.end() && entry->second != nullptr &&
           static_cast<long>(*entry->second) != 0;
}

} // namespace

bool SendOnlyOnce(const CK_BYTE* pbCommand, DWORD cbCommand)
{
    return CarriesSecret(pbCommand, cbCommand) && GuardIsOn();
}
