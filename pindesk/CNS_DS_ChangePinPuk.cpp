// SPDX-License-Identifier: Apache-2.0

#include "pindesk/operation.h"
#include "pindesk/steps.h"

using namespace pindesk;

namespace {

struct SChange {
    SValue oldValue;
    SValue newValue;

    bool Given() const { return oldValue.Given() && newValue.Given(); }
};

long CheckArguments(const SChange (&changes)[4])
{
    if (std::none_of(std::begin(changes), std::end(changes), [](auto& c) { return c.Given(); })) {
        return result::MISSING_ARGUMENT;
    }
    for (const ESecret e : {CNS_PIN, CNS_PUK, DS_PIN, DS_PUK}) {
        if (!changes[e].oldValue.LengthAllowed()) {
            return SECRETS[e].lLength;
        }
        if (!changes[e].newValue.LengthAllowed()) {
            return SECRETS[e].lNewLength;
        }
    }
    return result::OK;
}

} // namespace

long CNS_DS_ChangePinPuk(long slot, char* serialNumber, unsigned char* pOldCNSPin,
                         long oldCNSPinLen, unsigned char* pNewCNSPin, long newCNSPinLen,
                         unsigned char* pOldCNSPuk, long oldCNSPukLen, unsigned char* pNewCNSPuk,
                         long newCNSPukLen, unsigned char* pOldDSPin, long oldDSPinLen,
                         unsigned char* pNewDSPin, long newDSPinLen, unsigned char* pOldDSPuk,
                         long oldDSPukLen, unsigned char* pNewDSPuk, long newDSPukLen,
                         unsigned char* pOptional_SM_Des3Key, BOOL bUseSecureMessaging)
{
    const SChange changes[] = {
        {{pOldCNSPin, oldCNSPinLen}, {pNewCNSPin, newCNSPinLen}},
        {{pOldCNSPuk, oldCNSPukLen}, {pNewCNSPuk, newCNSPukLen}},
        {{pOldDSPin, oldDSPinLen}, {pNewDSPin, newDSPinLen}},
        {{pOldDSPuk, oldDSPukLen}, {pNewDSPuk, newDSPukLen}},
    };
    const long lArguments = CheckArguments(changes);
    if (lArguments != result::OK) {
        return lArguments;
    }
    return RunOperation(slot, serialNumber, EStart::MF_SELECTED, [&](CSCardZentaris34& card) {
        return ForEachSecret(
            card, {pOptional_SM_Des3Key, bUseSecureMessaging}, changes,
            [&](ESecret e) { return Change(card, e, changes[e].oldValue, changes[e].newValue); });
    });
}
