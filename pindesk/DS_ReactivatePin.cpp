// SPDX-License-Identifier: Apache-2.0
//
// Brings the signature PIN back with its PUK.

#include "pindesk/operation.h"
#include "pindesk/steps.h"

using namespace pindesk;

long DS_ReactivatePin(long slot, char* serialNumber, unsigned char* pDSPuk, long DSPukLen,
                      unsigned char* pNewDSPin, long newDSPinLen,
                      unsigned char* /*pOptional_Admin_Des3Key*/, BOOL /*bUseAdminKey*/,
                      unsigned char* pOptional_SM_Des3Key, BOOL bUseSecureMessaging)
{
    // A negative length counts as none.
    const SValue puk{pDSPuk, std::max(DSPukLen, 0L)};
    const SValue newPin{pNewDSPin, std::max(newDSPinLen, 0L)};
    if (slot < 1) {
        return result::NO_READER;
    }
    // No lower bound: the card decides.
    if (puk.cb > static_cast<long>(CPinBlock::size())) {
        return result::DS_PUK_LENGTH;
    }
    if (newPin.cb > static_cast<long>(CPinBlock::size())) {
        return result::DS_PIN_LENGTH;
    }
    const SProtection protection{pOptional_SM_Des3Key, bUseSecureMessaging};
    return RunOperation(slot, serialNumber, EStart::MF_SELECTED, [&](CSCardZentaris34& card) {
        const long lSelected = SelectSignatureDf(card);
        if (lSelected != result::OK && CCareful::Now()) {
            return lSelected;
        }
        PrepareSecureMessaging(card, protection, ins::RESET_RETRY_COUNTER);
        SwitchSecureMessaging(card, protection);
        const SOutcome reactivated = Reactivate(card, puk, newPin);
        if (reactivated.lResult == result::OK) {
            RewriteSignaturePin(card);
        }
        return reactivated.lResult;
    });
}
