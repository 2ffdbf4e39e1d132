// SPDX-License-Identifier: Apache-2.0

#include "pindesk/operation.h"
#include "pindesk/secrets.h"

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
            return kSecrets[e].lLength;
        }
        if (!changes[e].newValue.LengthAllowed()) {
            return kSecrets[e].lNewLength;
        }
    }
    return result::OK;
}

long ChangeOne(CSCardZentaris34& card, const SSecret& secret, const SChange& change)
{
    const std::uint8_t bReference = secret.Reference();
    CK_BYTE cbEffective = 0;
    // Secure-messaging errors have no code of their own at this stage, unlike in a verification.
    const long lResult =
        VerificationResult(secret, Present(card, bReference, change.oldValue, cbEffective));
    if (lResult != result::OK) {
        return lResult;
    }
    const CPaddedPin padded(change.newValue);
    const long lAnswer =
        card.ChangeReferenceData(bReference, 0, padded.data(), CPaddedPin::size(), nullptr, 0);
    if (secret.bSignature && IsSecureMessagingError(lAnswer)) {
        return result::SECURE_MESSAGING;
    }
    return lAnswer == 0 ? result::OK : secret.lChange;
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
        SelectSignatureDF(card);
        return ForEachSecret(card, pOptional_SM_Des3Key, bUseSecureMessaging, [&](ESecret e) {
            return changes[e].Given() ? ChangeOne(card, kSecrets[e], changes[e]) : result::OK;
        });
    });
}
