// SPDX-License-Identifier: Apache-2.0

#include "pindesk/operation.h"
#include "pindesk/steps.h"

using namespace pindesk;

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
        return SECRETS[CNS_PUK].lLength;
    }
    if (!cns.newPin.LengthAllowed()) {
        return SECRETS[CNS_PIN].lNewLength;
    }
    if (!ds.puk.LengthAllowed()) {
        return SECRETS[DS_PUK].lLength;
    }
    return ds.newPin.LengthAllowed() ? result::OK : SECRETS[DS_PIN].lNewLength;
}

/// Each application's secrets are reached from the MF.
long UnblockCns(CSCardZentaris34& card, const SUnblock& cns)
{
    const long lSelected = SelectMf(card);
    return lSelected != result::OK ? lSelected
                                   : Unblock(card, CNS_PIN, cns.puk, cns.newPin).lResult;
}

long UnblockDs(CSCardZentaris34& card, const SUnblock& ds, const SProtection& protection)
{
    if (const long lSelected = SelectMf(card); lSelected != result::OK) {
        return lSelected;
    }
    const long lSelected = SelectSignatureDf(card);
    if (lSelected != result::OK && CCareful::Now()) {
        return lSelected;
    }
    SwitchSecureMessaging(card, protection);
    const SOutcome unblocked = Unblock(card, DS_PIN, ds.puk, ds.newPin);
    if (unblocked.lResult == result::OK) {
        card.SetSMxCMode(0, nullptr, nullptr, nullptr, 0);
    }
    return unblocked.lResult;
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
    const SProtection protection{pOptional_SM_Des3Key, bUseSecureMessaging};
    // Without a pair the card is opened and nothing done: tolerated on purpose.
    return RunOperation(slot, serialNumber, EStart::CONNECTED, [&](CSCardZentaris34& card) {
        PrepareSecureMessaging(card, protection, ins::RESET_RETRY_COUNTER);
        if (cns.Given()) {
            const long lResult = UnblockCns(card, cns);
            if (lResult != result::OK) {
                return lResult;
            }
        }
        return ds.Given() ? UnblockDs(card, ds, protection) : result::OK;
    });
}
