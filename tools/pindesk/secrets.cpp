// SPDX-License-Identifier: Apache-2.0
//
// The table of the secrets.

#include "secrets.h"

#include "pindesk/PinDesk.h"

#include <algorithm>
#include <stdexcept>

namespace tool {

namespace {

constexpr const char* ISSUER = "No command brings a blocked PUK back: ask the card's issuer for "
                               "another card.";

} // namespace

const std::array<Secret, SECRET_COUNT> kSecrets = {{
    {0, "cns-pin", "CNS PIN", "SETTING_CNS_PIN", false, false, result::BLOCKED_CNS_PIN,
     "Unblock it with the CNS PUK: pindesk unblock cns"},
    {1, "cns-puk", "CNS PUK", "SETTING_CNS_PUK", false, true, result::BLOCKED_CNS_PUK, ISSUER},
    {2, "ds-pin", "DS PIN", "SETTING_CNS_DS_PIN", true, false, result::BLOCKED_DS_PIN,
     "Unblock it with the DS PUK: pindesk unblock ds"},
    {3, "ds-puk", "DS PUK", "SETTING_CNS_DS_PUK", true, true, result::BLOCKED_DS_PUK, ISSUER},
}};

const Secret& CnsPin()
{
    return kSecrets[0];
}

const Secret& CnsPuk()
{
    return kSecrets[1];
}

const Secret& DsPin()
{
    return kSecrets[2];
}

const Secret& DsPuk()
{
    return kSecrets[3];
}

const Secret& SecretNamed(const std::string& word)
{
    const auto found = std::find_if(kSecrets.begin(), kSecrets.end(),
                                    [&](const Secret& secret) { return word == secret.word; });
    if (found == kSecrets.end()) {
        throw std::logic_error("no such secret");
    }
    return *found;
}

std::string TriesText(int tries)
{
    return tries == 1 ? "1 try is left" : std::to_string(tries) + " tries are left";
}

} // namespace tool
