// SPDX-License-Identifier: Apache-2.0
//
// Deactivates the signature PIN and closes the ways back.

#include "pindesk/operation.h"
#include "pindesk/steps.h"

using namespace pindesk;

long DS_DeactivatePin(long slot, char* serialNumber, unsigned char* pOptional_Admin_Des3Key,
                      BOOL bUseAdminKey)
{
    const unsigned char* const pKey =
        bUseAdminKey != 0 ? ChooseKey(pOptional_Admin_Des3Key, true) : nullptr;
    return RunOperation(slot, serialNumber, EStart::MF_SELECTED, [&](CSCardZentaris34& card) {
        const long lSelected = SelectSignatureDf(card);
        if (lSelected != result::OK && CCareful::Now()) {
            return lSelected;
        }
        const SOutcome deactivated = Deactivate(card, pKey);
        if (deactivated.lResult != result::OK) {
            return deactivated.lResult;
        }
        if (pKey != nullptr) {
            BlockAdminKey(card);
        }
        TightenAccess(card);
        return result::OK;
    });
}

long DS_LockPin(long slot, char* serialNumber, unsigned char* pOptional_Admin_Des3Key,
                BOOL bUseAdminKey)
{
    return DS_DeactivatePin(slot, serialNumber, pOptional_Admin_Des3Key, bUseAdminKey);
}
