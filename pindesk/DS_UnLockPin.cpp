// SPDX-License-Identifier: Apache-2.0
//
// Brings the signature PIN back with its PUK.

#include "cardlib/traces.h"
#include "pindesk/constants.h"
#include "pindesk/operation.h"
#include "pindesk/secrets.h"
#include "pindesk/settings.h"
#include "pindesk/signaturepin.h"

namespace {

/// What a step traces and returns when the card refuses it.
struct SRefusal {
    const char* szSecureMessaging; ///< the trace begins with this for a secure-messaging error,
    const char* szOther;           ///< with this for any other
    long lResult;
};

constexpr SRefusal kReactivation = {"SecureMessaging", "Reactivating PIN",
                                    result::REACTIVATION_REFUSED};
// The missing letter belongs to the texts that hosts look for in the log.
constexpr SRefusal kNewPin = {"ScureMessaging", "Setting New PIN", result::NEW_DS_PIN_REFUSED};

void TraceError(const char* szWhat, long lSw)
{
    CK_TraceStdErr("%s error: SW=0x%04X\n", szWhat, static_cast<unsigned int>(lSw));
}

long PresentPuk(CSCardZentaris34& card, const SValue& puk, CK_BYTE& cbEffective)
{
    const SSecret& secret = kSecrets[DS_PUK];
    // Without the local bit, as when unblocking.
    const long lAnswer =
        Present(card, ReferenceSetting(secret.szReferenceSetting), puk, cbEffective);
    if (IsSecureMessagingError(lAnswer)) {
        TraceError("SecureMessaging", lAnswer);
        return result::SECURE_MESSAGING;
    }
    const long lResult = VerificationResult(secret, lAnswer);
    if (lResult == secret.lVerify) {
        TraceError("Verify", lAnswer);
    }
    return lResult;
}

long SendStep(CSCardZentaris34& card, const CCommandApdu& command, const SRefusal& refusal)
{
    std::uint16_t wSw = 0;
    const long lSent = SendOwnCommand(card, command, wSw);
    if (lSent != result::OK || wSw == sw::SUCCESS) {
        return lSent;
    }
    // 0 instead of the status word, on purpose: logs of these two steps have always shown it.
    if (IsSecureMessagingError(wSw)) {
        TraceError(refusal.szSecureMessaging, 0);
        return result::SECURE_MESSAGING;
    }
    TraceError(refusal.szOther, 0);
    return refusal.lResult;
}

/// The signature PIN object as a reactivated card has it.
void Describe(_M4_BSO_info& info)
{
    constexpr CK_BYTE kNever = 0xFF;
    const std::uint8_t bPin = ReferenceSetting("SETTING_CNS_DS_PIN");
    const std::uint8_t bPuk = ReferenceSetting("SETTING_CNS_DS_PUK");
    info.Reset();
    info.SetDefaultConditions(kNever);
    info.Dek = kNever;
    if (bPin != 0 && bPin < p2::LOCAL_REFERENCE) {
        info.ObjectDataLen = sizeof DEFAULT_DS_PIN - 1;
        std::memcpy(info.pObjectData, DEFAULT_DS_PIN, info.ObjectDataLen);
        info.ObjectId = bPin;
        info.Options = 0x02;
        info.Flags = 0x03;
        info.ErrCnt = 0x43;
        info.UseCount = 0xFF;
        info.Ara_Counter = 0xFF;
        info.MinLen = 6;
    }
    info.AC_USE = 0x00;
    info.AC_CHANGE = bPin;
    info.AC_UNBLOCK = bPuk;
    info.AC_rfu4 = kNever;
    info.AC_rfu5 = bPuk;
    info.AlgoId = 0x87;
}

} // namespace

long DS_ReactivatePin(long slot, char* serialNumber, unsigned char* pDSPuk, long DSPukLen,
                      unsigned char* pNewDSPin, long newDSPinLen,
                      unsigned char* /*pOptional_Admin_Des3Key*/, BOOL /*bUseAdminKey*/,
                      unsigned char* pOptional_SM_Des3Key, BOOL bUseSecureMessaging)
{
    const SValue puk{pDSPuk, DSPukLen};
    const SValue newPin{pNewDSPin, newDSPinLen};
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
    return RunOperation(slot, serialNumber, EStart::MF_SELECTED, [&](CSCardZentaris34& card) {
        SelectSignatureDF(card);
        SwitchSecureMessaging(card, bUseSecureMessaging,
                              ChooseKey(pOptional_SM_Des3Key, bUseSecureMessaging), ins::VERIFY,
                              ins::RESET_RETRY_COUNTER);
        CK_BYTE cbPuk = 0;
        long lResult = PresentPuk(card, puk, cbPuk);
        if (lResult == result::OK) {
            lResult = SendStep(card, CSignaturePinCommand(ins::ACTIVATE), kReactivation);
        }
        const bool bNewPin = puk.Given() && newPin.Given() && newPin.cb > 0;
        if (lResult == result::OK && bNewPin) {
            lResult =
                SendStep(card, CResetRetryCounter(kSecrets[DS_PIN].Reference(), puk, cbPuk, newPin),
                         kNewPin);
        }
        if (lResult != result::OK) {
            return lResult;
        }
        _M4_BSO_info info;
        Describe(info);
        if (card.AdminBSO(&info, 0) != 0) {
            BlockAdminKey(card);
        }
        return result::OK;
    });
}
