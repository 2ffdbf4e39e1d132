// SPDX-License-Identifier: Apache-2.0
//
// Verifying, changing and unblocking.

#include "pindesk/steps.h"

#include "pindesk/constants.h"
#include "pindesk/present.h"

#include <new>

namespace pindesk {

const unsigned char* ChooseKey(const unsigned char* pOptionalKey, bool bNeeded)
{
    return pOptionalKey == nullptr && bNeeded ? DEFAULT_DES3_KEY : pOptionalKey;
}

void PrepareSecureMessaging(CSCardZentaris34& card, const SProtection& protection,
                            std::uint8_t bIns)
{
    const bool bProtect = protection.bProtect != 0;
    const unsigned char* const pKey = ChooseKey(protection.pOptionalKey, bProtect);
    CK_BYTE instructions[] = {ins::VERIFY, bIns};
    card.SetSMxCMode(bProtect, pKey, pKey, instructions, sizeof instructions);
    card.m_bUseSMxCMode = 0;
    if (bProtect && card.m_pbINSList == nullptr) { // without the list all would be protected
        throw std::bad_alloc();
    }
}

void SwitchSecureMessaging(CSCardZentaris34& card, const SProtection& protection)
{
    card.m_bUseSMxCMode = protection.bProtect != 0;
}

SOutcome Verify(CSCardZentaris34& card, ESecret eSecret, const SValue& value)
{
    const SSecret& secret = SECRETS[eSecret];
    CK_BYTE cbEffective = 0;
    return OutcomeOf(secret.verify, Present(card, secret.Reference(), value, cbEffective));
}

SOutcome Change(CSCardZentaris34& card, ESecret eSecret, const SValue& oldValue,
                const SValue& newValue)
{
    const SSecret& secret = SECRETS[eSecret];
    const std::uint8_t bReference = secret.Reference();
    // Secure-messaging errors have no code of their own for the old value, unlike in Verify.
    const SStep old{secret.verify.lRefused, secret.verify.lBlocked, false};
    CK_BYTE cbEffective = 0;
    const SOutcome presented = OutcomeOf(old, Present(card, bReference, oldValue, cbEffective));
    if (presented.lResult != result::OK) {
        return presented;
    }
    const CPaddedPin padded(newValue);
    return OutcomeOf(secret.change, card.ChangeReferenceData(bReference, 0, padded.data(),
                                                             CPaddedPin::size(), nullptr, 0));
}

SOutcome Unblock(CSCardZentaris34& card, ESecret ePin, const SValue& puk, const SValue& newPin)
{
    constexpr SStep RESET_CNS{.lRefused = result::UNBLOCK_CNS_PIN,
                              .lBlocked = result::UNBLOCK_CNS_PIN,
                              .bSmHasCode = false};
    constexpr SStep RESET_DS{
        .lRefused = result::UNBLOCK_DS_PIN, .lBlocked = result::UNBLOCK_DS_PIN, .bSmHasCode = true};
    const SSecret& secret = SECRETS[ePin == CNS_PIN ? CNS_PUK : DS_PUK];
    CK_BYTE cbPuk = 0;
    // The DS PUK travels without its local bit here, unlike in a verification: kept on purpose.
    const SOutcome presented =
        OutcomeOf(secret.verify, Present(card, Reference(secret.eReference), puk, cbPuk));
    if (presented.lResult != result::OK) {
        return presented;
    }
    return OutcomeOf(
        secret.bSignature ? RESET_DS : RESET_CNS,
        SendOwnCommand(card, CResetRetryCounter(SECRETS[ePin].Reference(), puk, cbPuk, newPin)));
}

} // namespace pindesk
