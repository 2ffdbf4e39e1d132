// SPDX-License-Identifier: Apache-2.0

#include "pindesk/secrets.h"

namespace pindesk {

using namespace result;

const SSecret SECRETS[4] = {
    {.eReference = ESetting::CnsPin,
     .bLocality = 0x00,
     .bSignature = false,
     .lLength = CNS_PIN_LENGTH,
     .lNewLength = NEW_CNS_PIN_LENGTH,
     .verify = {.lRefused = VERIFY_CNS_PIN, .lBlocked = BLOCKED_CNS_PIN, .bSmHasCode = false},
     .change = {.lRefused = CHANGE_CNS_PIN, .lBlocked = CHANGE_CNS_PIN, .bSmHasCode = false}},
    {.eReference = ESetting::CnsPuk,
     .bLocality = 0x00,
     .bSignature = false,
     .lLength = CNS_PUK_LENGTH,
     .lNewLength = NEW_CNS_PUK_LENGTH,
     .verify = {.lRefused = VERIFY_CNS_PUK, .lBlocked = BLOCKED_CNS_PUK, .bSmHasCode = false},
     .change = {.lRefused = CHANGE_CNS_PUK, .lBlocked = CHANGE_CNS_PUK, .bSmHasCode = false}},
    {.eReference = ESetting::DsPin,
     .bLocality = p2::LOCAL_REFERENCE,
     .bSignature = true,
     .lLength = DS_PIN_LENGTH,
     .lNewLength = NEW_DS_PIN_LENGTH,
     .verify = {.lRefused = VERIFY_DS_PIN, .lBlocked = BLOCKED_DS_PIN, .bSmHasCode = true},
     .change = {.lRefused = CHANGE_DS_PIN, .lBlocked = CHANGE_DS_PIN, .bSmHasCode = true}},
    {.eReference = ESetting::DsPuk,
     .bLocality = p2::LOCAL_REFERENCE,
     .bSignature = true,
     .lLength = DS_PUK_LENGTH,
     .lNewLength = NEW_DS_PUK_LENGTH,
     .verify = {.lRefused = VERIFY_DS_PUK, .lBlocked = BLOCKED_DS_PUK, .bSmHasCode = true},
     .change = {.lRefused = CHANGE_DS_PUK, .lBlocked = CHANGE_DS_PUK, .bSmHasCode = true}},
};

std::uint8_t SSecret::Reference() const
{
    return ::Reference(eReference) | bLocality;
}

CPaddedPin::CPaddedPin(const SValue& value)
{
    const long cb = value.pb == nullptr ? 0 : std::clamp(value.cb, 0L, static_cast<long>(size()));
    (void)Assign(value.pb, static_cast<std::size_t>(cb), 0xFF); // fits: clamped above
}

} // namespace pindesk
