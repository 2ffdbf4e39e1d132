// SPDX-License-Identifier: Apache-2.0

#include "pindesk/operation.h"
#include "pindesk/secrets.h"

namespace {

long CheckArguments(const SValue (&values)[4])
{
    if (std::none_of(std::begin(values), std::end(values), [](auto& v) { return v.Given(); })) {
        return result::MISSING_ARGUMENT;
    }
    for (const ESecret e : {CNS_PIN, CNS_PUK, DS_PIN, DS_PUK}) {
        if (!values[e].LengthAllowed()) {
            return kSecrets[e].lLength;
        }
    }
    return result::OK;
}

long VerifyOne(CSCardZentaris34& card, const SSecret& secret, const SValue& value)
{
    CK_BYTE cbEffective = 0;
    const long lAnswer = Present(card, secret.Reference(), value, cbEffective);
    if (secret.bSignature && IsSecureMessagingError(lAnswer)) {
        return result::SECURE_MESSAGING;
    }
    return VerificationResult(secret, lAnswer);
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
        SelectSignatureDF(card);
        return ForEachSecret(card, pOptional_SM_Des3Key, bUseSecureMessaging, [&](ESecret e) {
            return values[e].Given() ? VerifyOne(card, kSecrets[e], values[e]) : result::OK;
        });
    });
}
