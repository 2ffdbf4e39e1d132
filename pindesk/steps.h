// SPDX-License-Identifier: Apache-2.0
//
// The steps of the operations on a card that is open and held in a transaction. Nothing here
// opens or closes anything, nor allocates or throws but where that is said. Internal.
//
// For the secrets of the signature application, its DF has to be selected and secure messaging to
// be prepared and switched first.

#ifndef PINDESK_STEPS_H
#define PINDESK_STEPS_H

#include "cardlib/scardzentaris34.h"
#include "pindesk/answers.h"
#include "pindesk/frame.h"
#include "pindesk/secrets.h"

namespace pindesk {

/// How the secrets of the signature application travel.
struct SProtection {
    const unsigned char* pOptionalKey; ///< 24 bytes; null for the library's own
    BOOL bProtect;                     ///< whether secure messaging is used at all
};

/// Makes the session ready for secure messaging as the caller wants it; all still travels plain.
/// Before the first secret leaves: it allocates, and throws std::bad_alloc.
/// \param bIns  the instruction that is protected beside VERIFY.
void PrepareSecureMessaging(CSCardZentaris34& card, const SProtection& protection,
                            std::uint8_t bIns);

/// Begins with what was prepared.
void SwitchSecureMessaging(CSCardZentaris34& card, const SProtection& protection);

/// The key of a caller, or the library's own when one is needed and none given.
const unsigned char* ChooseKey(const unsigned char* pOptionalKey, bool bNeeded);

/// Presents a secret, padded, and with its own length when the card answers 6700: careful, only
/// where that is another command, and none that asks for the tries left.
SOutcome Verify(CSCardZentaris34& card, ESecret eSecret, const SValue& value);

/// Presents the old value and sets the new one, padded.
SOutcome Change(CSCardZentaris34& card, ESecret eSecret, const SValue& oldValue,
                const SValue& newValue);

/// Presents the PUK of a PIN and resets the PIN with it.
/// \param ePin  CNS_PIN or DS_PIN.
SOutcome Unblock(CSCardZentaris34& card, ESecret ePin, const SValue& puk, const SValue& newPin);

/// Deactivates the signature PIN.
/// \param pAdminKey  24 bytes of the administration key to authenticate with; null: without.
SOutcome Deactivate(CSCardZentaris34& card, const unsigned char* pAdminKey);

/// Closes the ways back from a deactivation: rewrites the access conditions of the MF, of the DF of
/// the signature application and of the fast file system, as far as the card lets and as far as
/// their conditions were read in full.
void TightenAccess(CSCardZentaris34& card);

/// Blocks the administration key by presenting a wrong one until the card says so. It also ends
/// when the card is gone, or silent twice in a row; careful, at the first answer that is not "wrong
/// key", and after as many as a retry counter can hold.
void BlockAdminKey(CSCardZentaris34& card);

/// Presents the DS PUK, also a missing one, activates the signature PIN, and resets it to a new
/// value when both are given.
SOutcome Reactivate(CSCardZentaris34& card, const SValue& puk, const SValue& newPin);

/// Rewrites the object of the signature PIN as a reactivated card has it, and blocks the
/// administration key where that is refused; careful, only where the card itself refused it.
void RewriteSignaturePin(CSCardZentaris34& card);

/// Runs SOutcome(ESecret) for those of the four secrets that are given, in their order, up to the
/// first failure; between the CNS and the DS ones, in every case, it switches secure messaging.
/// \param given  four objects with a Given().
/// \return OK, the first failure, or, careful, SELECT_FAILED in front of a DS secret whose DF could
///         not be selected.
template <typename TGiven, typename TStep>
long ForEachSecret(CSCardZentaris34& card, const SProtection& protection, const TGiven (&given)[4],
                   TStep step)
{
    PrepareSecureMessaging(card, protection, ins::CHANGE_REFERENCE_DATA);
    // The CNS secrets are global: they do not depend on this selection.
    const long lSelected = SelectSignatureDf(card);
    for (const ESecret e : {CNS_PIN, CNS_PUK, DS_PIN, DS_PUK}) {
        if (e == DS_PIN) {
            SwitchSecureMessaging(card, protection);
        }
        if (!given[e].Given()) {
            continue;
        }
        if (SECRETS[e].bSignature && lSelected != result::OK && CCareful::Now()) {
            return lSelected;
        }
        if (const SOutcome outcome = step(e); outcome.lResult != result::OK) {
            return outcome.lResult;
        }
    }
    return result::OK;
}

} // namespace pindesk

#endif
