// SPDX-License-Identifier: Apache-2.0

#include "pindesk/signaturepin.h"

#include "pindesk/constants.h"
#include "pindesk/settings.h"

CSignaturePinCommand::CSignaturePinCommand(std::uint8_t bIns)
    : CCommandApdu(cla::ISO, bIns, 0x00, 0x00)
{
    Data({0x00, ReferenceSetting("SETTING_CNS_DS_PIN")});
}

std::uint8_t AdminKeyReference()
{
    return ReferenceSetting("SETTING_CNS_DS_KAUTH");
}

void BlockAdminKey(CSCardZentaris34& card)
{
    constexpr CK_ULONG kChallenge = 8;
    long lAnswer = 0;
    do {
        lAnswer = card.CRVerifyDes(AdminKeyReference(), pWRONG_DES3_KEY, sizeof pWRONG_DES3_KEY,
                                   kChallenge);
    } while (lAnswer != sw::AUTH_BLOCKED && card.isValid());
}
