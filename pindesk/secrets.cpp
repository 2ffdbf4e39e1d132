// SPDX-License-Identifier: Apache-2.0

#include "pindesk/secrets.h"

#include "pindesk/PinDesk.h"
#include "pindesk/constants.h"
#include "pindesk/settings.h"

using namespace result;

const SSecret kSecrets[4] = {
    {"SETTING_CNS_PIN", 0x00, false, CNS_PIN_LENGTH, NEW_CNS_PIN_LENGTH, VERIFY_CNS_PIN,
     BLOCKED_CNS_PIN, CHANGE_CNS_PIN},
    {"SETTING_CNS_PUK", 0x00, false, CNS_PUK_LENGTH, NEW_CNS_PUK_LENGTH, VERIFY_CNS_PUK,
     BLOCKED_CNS_PUK, CHANGE_CNS_PUK},
    {"SETTING_CNS_DS_PIN", p2::LOCAL_REFERENCE, true, DS_PIN_LENGTH, NEW_DS_PIN_LENGTH,
     VERIFY_DS_PIN, BLOCKED_DS_PIN, CHANGE_DS_PIN},
    {"SETTING_CNS_DS_PUK", p2::LOCAL_REFERENCE, true, DS_PUK_LENGTH, NEW_DS_PUK_LENGTH,
     VERIFY_DS_PUK, BLOCKED_DS_PUK, CHANGE_DS_PUK},
};

std::uint8_t SSecret::Reference() const
{
    return ReferenceSetting(szReferenceSetting) | bLocality;
}

CPaddedPin::CPaddedPin(const SValue& value)
{
    const long cb = value.pb == nullptr ? 0 : std::clamp(value.cb, 0L, static_cast<long>(size()));
    (void)Assign(value.pb, static_cast<std::size_t>(cb), 0xFF); // fits: clamped above
}

long Present(CSCardZentaris34& card, std::uint8_t bReference, const SValue& value,
             CK_BYTE& cbEffective)
{
    const CPaddedPin padded(value);
    cbEffective = CPaddedPin::size();
    const long lAnswer = card.Verify(bReference, padded.data(), cbEffective);
    if (lAnswer != sw::WRONG_LENGTH) {
        return lAnswer;
    }
    cbEffective = static_cast<CK_BYTE>(std::clamp(value.cb, 0L, static_cast<long>(padded.size())));
    return card.Verify(bReference, padded.data(), cbEffective);
}

long VerificationResult(const SSecret& secret, long lAnswer)
{
    if (lAnswer == 0) {
        return OK;
    }
    return lAnswer == sw::AUTH_BLOCKED ? secret.lBlocked : secret.lVerify;
}

bool IsSecureMessagingError(long lAnswer)
{
    return lAnswer == sw::SM_OBJECTS_MISSING || lAnswer == sw::SM_OBJECTS_WRONG ||
           lAnswer == sw::WRONG_DATA;
}

const unsigned char* ChooseKey(const unsigned char* pOptionalKey, BOOL bUseKey)
{
    return pOptionalKey == nullptr && bUseKey ? DEFAULT_DES3_KEY : pOptionalKey;
}

void SwitchSecureMessaging(CSCardZentaris34& card, BOOL bUse, const unsigned char* pKey,
                           std::uint8_t bIns1, std::uint8_t bIns2)
{
    CK_BYTE instructions[] = {bIns1, bIns2};
    card.SetSMxCMode(bUse != 0, pKey, pKey, instructions, sizeof instructions);
}

void SelectSignatureDF(CSCardZentaris34& card)
{
    card.SelectEx(FileIdSetting("SETTING_CNS_DS_DF_ROOT"), nullptr, eFidDF);
}

CResetRetryCounter::CResetRetryCounter(std::uint8_t bReference, const SValue& puk, CK_BYTE cbPuk,
                                       const SValue& newPin)
    : CCommandApdu(cla::ISO, ins::RESET_RETRY_COUNTER, 0x00, bReference)
{
    const CPaddedPin paddedPuk(puk);
    const CPaddedPin paddedPin(newPin);
    Data(paddedPuk.data(), cbPuk).Data(paddedPin.data(), paddedPin.size());
}

long SendOwnCommand(CSCardZentaris34& card, const CCommandApdu& command, std::uint16_t& wSw)
{
    CResponseApdu response(255);
    const long lExchange =
        card.Transmit(command.data(), command.size(), response.data(), response.Length());
    if (lExchange != 0) {
        return READER_FAILED;
    }
    wSw = response.Usable() ? response.Sw() : sw::NO_DIAGNOSIS;
    return OK;
}
