// SPDX-License-Identifier: Apache-2.0

#include "pindesk/present.h"

#include "cardlib/support/careful.h"

namespace pindesk {

namespace {

/// Under secure messaging two commands go ahead of the one with the value. Their answers come back
/// as its own, but say nothing about it.
long OfTheValue(const CSCardZentaris34& card, long lAnswer)
{
    const bool bSpeaksOfIt = lAnswer == sw::WRONG_LENGTH || lAnswer == sw::AUTH_BLOCKED;
    const bool bItsOwn = card.m_pbLastSendBuffer[1] == ins::VERIFY;
    return bSpeaksOfIt && !bItsOwn ? sw::NO_DIAGNOSIS : lAnswer;
}

} // namespace

long Present(CSCardZentaris34& card, std::uint8_t bReference, const SValue& value,
             CK_BYTE& cbEffective)
{
    const CPaddedPin padded(value);
    const auto present = [&](CK_BYTE cb) {
        cbEffective = cb;
        return OfTheValue(card, card.Verify(bReference, padded.data(), cb));
    };
    const long lAnswer = present(CPaddedPin::size());
    const auto cbOwn = static_cast<CK_BYTE>(std::clamp<long>(value.cb, 0, CPaddedPin::size()));
    const bool bAnotherValue = cbOwn != 0 && cbOwn != CPaddedPin::size();
    if (lAnswer != sw::WRONG_LENGTH || (CCareful::Now() && !bAnotherValue)) {
        return lAnswer;
    }
    return present(cbOwn);
}

CResetRetryCounter::CResetRetryCounter(std::uint8_t bReference, const SValue& puk, CK_BYTE cbPuk,
                                       const SValue& newPin)
    : CCommandApdu(cla::ISO, ins::RESET_RETRY_COUNTER, 0x00, bReference)
{
    const CPaddedPin paddedPuk(puk);
    const CPaddedPin paddedPin(newPin);
    Data(paddedPuk.data(), cbPuk).Data(paddedPin.data(), paddedPin.size());
}

long SendOwnCommand(CSCardZentaris34& card, const CCommandApdu& command)
{
    CResponseApdu response(255);
    const long lExchange =
        card.Transmit(command.data(), command.size(), response.data(), response.Length());
    return lExchange == 0 && response.Usable() ? response.Result(0) : NO_STATUS_WORD;
}

} // namespace pindesk
