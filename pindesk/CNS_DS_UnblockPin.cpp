// SPDX-License-Identifier: Apache-2.0

#include "pindesk/operation.h"
#include "pindesk/secrets.h"
#include "pindesk/settings.h"

namespace {

struct SUnblock {
    SValue puk;
    SValue newPin;

    bool Given() const { return puk.Given() && newPin.Given(); }
};

/// The lengths in the order CNS PUK, new CNS PIN, DS PUK, new DS PIN.
long CheckLengths(const SUnblock& cns, const SUnblock& ds)
{
    if (!cns.puk.LengthAllowed()) {
        return kSecrets[CNS_PUK].lLength;
    }
    if (!cns.newPin.LengthAllowed()) {
        return kSecrets[CNS_PIN].lNewLength;
    }
    if (!ds.puk.LengthAllowed()) {
        return kSecrets[DS_PUK].lLength;
    }
    return ds.newPin.LengthAllowed() ? result::OK : kSecrets[DS_PIN].lNewLength;
}

long SelectMF(CSCardZentaris34& card)
{
    return card.SelectEx(M4_MF, nullptr, eFidDF) == 0 ? result::OK : result::SELECT_FAILED;
}

/// Presents the PUK and resets the PIN of one application, whose DF is selected.
long UnblockOne(CSCardZentaris34& card, const SSecret& pin, const SSecret& puk,
                const SUnblock& unblock, long lRefused)
{
    CK_BYTE cbPuk = 0;
    // The DS PUK travels without its local bit here, unlike in a verification: kept on purpose.
    const std::uint8_t bPuk = ReferenceSetting(puk.szReferenceSetting);
    const long lAnswer = Present(card, bPuk, unblock.puk, cbPuk);
    if (pin.bSignature && IsSecureMessagingError(lAnswer)) {
        return result::SECURE_MESSAGING;
    }
    if (lAnswer != 0) {
        return VerificationResult(puk, lAnswer);
    }
    std::uint16_t wSw = 0;
    const long lSent = SendOwnCommand(
        card, CResetRetryCounter(pin.Reference(), unblock.puk, cbPuk, unblock.newPin), wSw);
    if (lSent != result::OK) {
        return lSent;
    }
    if (pin.bSignature && IsSecureMessagingError(wSw)) {
        return result::SECURE_MESSAGING;
    }
    return wSw == sw::SUCCESS ? result::OK : lRefused;
}

} // namespace

long CNS_DS_UnblockPin(long slot, char* serialNumber, unsigned char* pCNSPuk, long CNSPukLen,
                       unsigned char* pNewCNSPin, long newCNSPinLen, unsigned char* pDSPuk,
                       long DSPukLen, unsigned char* pNewDSPin, long newDSPinLen,
                       unsigned char* pOptional_SM_Des3Key, BOOL bUseSecureMessaging)
{
    const SUnblock cns{{pCNSPuk, CNSPukLen}, {pNewCNSPin, newCNSPinLen}};
    const SUnblock ds{{pDSPuk, DSPukLen}, {pNewDSPin, newDSPinLen}};
    if (slot < 1) { // before the lengths, unlike in the other operations
        return result::NO_READER;
    }
    const long lLengths = CheckLengths(cns, ds);
    if (lLengths != result::OK) {
        return lLengths;
    }
    // Without a pair the card is opened and nothing done: tolerated on purpose.
    return RunOperation(slot, serialNumber, EStart::CONNECTED, [&](CSCardZentaris34& card) {
        long lResult = result::OK;
        if (cns.Given()) {
            lResult = SelectMF(card);
            if (lResult == result::OK) {
                lResult = UnblockOne(card, kSecrets[CNS_PIN], kSecrets[CNS_PUK], cns,
                                     result::UNBLOCK_CNS_PIN);
            }
        }
        if (lResult != result::OK || !ds.Given()) {
            return lResult;
        }
        lResult = SelectMF(card);
        if (lResult != result::OK) {
            return lResult;
        }
        SelectSignatureDF(card);
        SwitchSecureMessaging(card, bUseSecureMessaging,
                              ChooseKey(pOptional_SM_Des3Key, bUseSecureMessaging), ins::VERIFY,
                              ins::RESET_RETRY_COUNTER);
        lResult = UnblockOne(card, kSecrets[DS_PIN], kSecrets[DS_PUK], ds, result::UNBLOCK_DS_PIN);
        if (lResult == result::OK) {
            card.SetSMxCMode(0, nullptr, nullptr, nullptr, 0);
        }
        return lResult;
    });
}
