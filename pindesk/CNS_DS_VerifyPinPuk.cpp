// SPDX-License-Identifier: Apache-2.0

#include "pindesk/operation.h"
#include "pindesk/steps.h"

using namespace pindesk;

namespace {

long CheckArguments(const SValue (&values)[4])
{
    if (std::none_of(std::begin(values), std::end(values), [](auto& v) { return v.Given(); })) {
        return result::MISSING_ARGUMENT;
    }
    for (const ESecret e : {CNS_PIN, CNS_PUK, DS_PIN, DS_PUK}) {
        if (!values[e].LengthAllowed()) {
            return SECRETS[e].lLength;
        }
    }
    return result::OK;
}

} // namespace

long CNS_DS_VerifyPinPuk(long slot, char* serialNumber, unsigned char* pCNSPin, long CNSPinLen,
                         unsigned char* pCNSPuk, long CNSPukLen, unsigned char* pDSPin,
                         long DSPinLen, unsigned char* pDSPuk, long DSPukLen,
                         unsigned char* pOptional_SM_Des3Key, BOOL bUseSecureMessaging)
{
    const SValue values[] = {
        {pCNSPin, CNSPinLen}, {pCNSPuk, CNSPukLen}, {pDSPin, DSPinLen}, {pDSPuk, DSPukLen}};
    const long lArguments = CheckArguments(values);
    if (lArguments != result::OK) {
        return lArguments;
    }
    return RunOperation(slot, serialNumber, EStart::MF_SELECTED, [&](CSCardZentaris34& card) {
        return ForEachSecret(card, {pOptional_SM_Des3Key, bUseSecureMessaging}, values,
                             [&](ESecret e) { return Verify(card, e, values[e]); });
    });
}
