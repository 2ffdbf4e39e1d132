// SPDX-License-Identifier: Apache-2.0
//
// The four secrets of a card as rows of one table, and what the operations do with each of them.
// Internal.

#ifndef PINDESK_SECRETS_H
#define PINDESK_SECRETS_H

#include "cardlib/apdu.h"
#include "cardlib/scardzentaris34.h"
#include "cardlib/secret.h"

/// What is particular to one secret.
struct SSecret {
    const char* szReferenceSetting;
    std::uint8_t bLocality; ///< p2::LOCAL_REFERENCE for the signature application's own
    bool bSignature;        ///< belongs to the signature application: may be protected
    long lLength;           ///< result codes
    long lNewLength;
    long lVerify;
    long lBlocked;
    long lChange;

    /// The reference that VERIFY and CHANGE REFERENCE DATA carry.
    std::uint8_t Reference() const;
};

/// CNS PIN, CNS PUK, DS PIN, DS PUK: the order in which the operations treat them.
extern const SSecret kSecrets[4];
enum ESecret { CNS_PIN, CNS_PUK, DS_PIN, DS_PUK };

/// A caller's PIN or PUK, in the caller's memory.
struct SValue {
    const unsigned char* pb;
    long cb;

    bool Given() const { return pb != nullptr && cb != 0; }
    /// Whether the length is one that the operations accept; 0 means that nothing is given.
    bool LengthAllowed() const { return cb == 0 || (cb >= 5 && cb <= 8); }
};

/// A PIN or PUK as the card takes it: right-padded with FF to 8 bytes.
class CPaddedPin : public CPinBlock {
public:
    /// Takes a value of at most 8 bytes; none or a negative length gives eight FF.
    explicit CPaddedPin(const SValue& value);
};

/// Presents a secret padded, and once more with its own length when the card answers 6700.
/// \param cbEffective  receives the length that the card took: 8, or the secret's own.
/// \return the card's result.
long Present(CSCardZentaris34& card, std::uint8_t bReference, const SValue& value,
             CK_BYTE& cbEffective);

/// What a card's answer to a presented secret comes to: the row's blocked or verification code.
long VerificationResult(const SSecret& secret, long lAnswer);

/// Whether an answer speaks of secure messaging: objects missing, objects wrong, or bad data.
bool IsSecureMessagingError(long lAnswer);

/// The key for secure messaging: the caller's, or the library's when protection is wanted without
/// one; null when neither is.
const unsigned char* ChooseKey(const unsigned char* pOptionalKey, BOOL bUseKey);

/// Switches secure messaging of the card as the caller wants it, for two instructions.
void SwitchSecureMessaging(CSCardZentaris34& card, BOOL bUse, const unsigned char* pKey,
                           std::uint8_t bIns1, std::uint8_t bIns2);

/// Runs long(ESecret) for the four secrets in their order, up to the first failure; between the CNS
/// and the DS ones, in every case, it switches secure messaging on or off.
template <typename TStep>
long ForEachSecret(CSCardZentaris34& card, const unsigned char* pOptionalKey, BOOL bProtect,
                   TStep step)
{
    for (const ESecret e : {CNS_PIN, CNS_PUK, DS_PIN, DS_PUK}) {
        if (e == DS_PIN) {
            SwitchSecureMessaging(card, bProtect, ChooseKey(pOptionalKey, bProtect), ins::VERIFY,
                                  ins::CHANGE_REFERENCE_DATA);
        }
        const long lResult = step(e);
        if (lResult != 0) {
            return lResult;
        }
    }
    return 0;
}

/// Selects the DF of the signature application. Its result is not looked at: the CNS secrets are
/// global, and whoever needs the DF learns from the command that follows.
void SelectSignatureDF(CSCardZentaris34& card);

/// RESET RETRY COUNTER: PUK in the length that the card took, new PIN padded.
class CResetRetryCounter : public CCommandApdu {
public:
    CResetRetryCounter(std::uint8_t bReference, const SValue& puk, CK_BYTE cbPuk,
                       const SValue& newPin);
};

/// Sends a command that an operation builds itself.
/// \param wSw  receives the status word when the exchange succeeded.
/// \return OK, or READER_FAILED when it did not.
long SendOwnCommand(CSCardZentaris34& card, const CCommandApdu& command, std::uint16_t& wSw);

#endif
