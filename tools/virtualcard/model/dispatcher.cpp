// SPDX-License-Identifier: Apache-2.0
//
// Finds the command, and puts secure messaging around it.
#include "model/dispatcher.h"

#include "model/apdu.h"
#include "model/command_table.h"
#include "model/secure_messaging.h"
#include "model/t0_answers.h"

#include <algorithm>

namespace vcard {

namespace {

const SCommandRow& FindRow(const SCommand& command)
{
    const auto bSameIns = [&](const SCommandRow& row) { return row.bIns == command.bIns; };
    const auto bSameCla = [&](const SCommandRow& row) { return row.bCla == command.bCla; };
    const auto it = std::ranges::find_if(
        Commands(), [&](const SCommandRow& row) { return bSameCla(row) && bSameIns(row); });
    if (it != Commands().end()) {
        return *it;
    }
    const bool bKnownCla = std::ranges::any_of(Commands(), bSameCla);
    const bool bKnownIns = std::ranges::any_of(Commands(), bSameIns);
    throw SRefusal(bKnownCla && !bKnownIns ? sw::UNKNOWN_INS : sw::UNKNOWN_CLA);
}

/// What a deactivated DF leaves open: leaving it, and whatever it takes to activate it again.
bool WorksWhenDeactivated(std::uint8_t bIns)
{
    constexpr std::uint8_t OPEN[] = {ins::SELECT,        ins::ACTIVATE,
                                     ins::GET_CHALLENGE, ins::GIVE_RANDOM,
                                     ins::GET_RESPONSE,  ins::EXTERNAL_AUTHENTICATE};
    return std::ranges::find(OPEN, bIns) != std::end(OPEN);
}

SAnswer Execute(SMachine& card, const SCommand& command)
{
    const SCommandRow& row = FindRow(command);
    // Terminals send MANAGE SECURITY ENVIRONMENT with three zero bytes behind its data.
    Require(!command.bTrailingZeros || row.bIns == ins::MANAGE_SECURITY_ENVIRONMENT,
            sw::WRONG_LENGTH);
    Require(card.session.PathIsActive() || WorksWhenDeactivated(row.bIns), sw::CONDITIONS);
    return row.pHandler(card, command);
}

/// An explicit Le below the answer's length gets 6Cxx. A command without Le gets its answer all the
/// same: terminals of this card leave Le out where the standard asks for it.
SAnswer WithinLe(const SCommand& command, SAnswer answer)
{
    if (!command.bExactLe || answer.abData.size() <= command.cbLe) {
        return answer;
    }
    return {{}, static_cast<std::uint16_t>(sw::WRONG_LE | Low(answer.abData.size()))};
}

SAnswer ExecuteAny(SMachine& card, ByteView apdu)
{
    const SCommand command = ParseCommand(apdu);
    if (command.bIns != ins::GET_RESPONSE) {
        card.session.HoldBack({}); // what was not fetched is lost
    }
    if (command.bCla != cla::PROTECTED) {
        return OverT0(card, command, WithinLe(command, Execute(card, command)));
    }
    const SOpened opened = OpenCommand(card.session, command);
    return OverT0(card, command, SealAnswer(opened, Execute(card, opened.command)));
}

} // namespace

Bytes Dispatch(SMachine& card, ByteView apdu) noexcept
{
    try {
        return Serialize(ExecuteAny(card, apdu));
    } catch (const SRefusal& refusal) {
        return {High(refusal.wStatus), Low(refusal.wStatus)};
    } catch (const std::exception&) {
        return {High(sw::INTERNAL), Low(sw::INTERNAL)};
    }
}

} // namespace vcard
