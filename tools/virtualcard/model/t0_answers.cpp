// SPDX-License-Identifier: Apache-2.0
//
// 61xx, 6Cxx and GET RESPONSE.
#include "model/t0_answers.h"

#include "model/commands.h"

namespace vcard {

SAnswer OverT0(SMachine& card, const SCommand& command, SAnswer answer)
{
    const std::uint8_t bCount = Low(answer.abData.size()); // 00 for 256
    if (card.image.t0Answers == ET0Answers::WHOLE || answer.abData.empty()) {
        return answer;
    }
    if (command.abData.empty()) {
        const bool bAsAsked = !command.bExactLe || command.cbLe == answer.abData.size();
        return bAsAsked ? answer : SAnswer({}, sw::WRONG_LE | bCount);
    }
    card.session.HoldBack(std::move(answer));
    const bool bCounted = card.image.t0Answers == ET0Answers::COUNTED;
    return {{}, static_cast<std::uint16_t>(sw::MORE_DATA | (bCounted ? bCount : 0))};
}

SAnswer GetResponse(SMachine& card, const SCommand& command)
{
    Require(card.image.t0Answers != ET0Answers::WHOLE, sw::UNKNOWN_INS);
    Require(command.P1P2() == 0, sw::WRONG_P1P2);
    SAnswer answer = card.session.TakePending();
    Require(!answer.abData.empty(), sw::CONDITIONS);
    if (command.bExactLe && command.cbLe != answer.abData.size()) {
        const std::uint8_t bCount = Low(answer.abData.size());
        card.session.HoldBack(std::move(answer)); // it can be asked for again
        throw SRefusal(sw::WRONG_LE | bCount);
    }
    return answer;
}

} // namespace vcard
