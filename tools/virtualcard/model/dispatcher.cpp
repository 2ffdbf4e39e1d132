// SPDX-License-Identifier: Apache-2.0
//
// The table of commands, and secure messaging around it.
#include "model/dispatcher.h"

#include "model/commands.h"
#include "model/secure_messaging.h"

#include <algorithm>

namespace vcard {

namespace {

struct SRow {
    std::uint8_t bCla, bIns;
    SAnswer (*pHandler)(SMachine&, const SCommand&);
};

constexpr SRow COMMANDS[] = {
    {cla::ISO, ins::SELECT, Select},
    {cla::ISO, ins::READ_BINARY, ReadBinary},
    {cla::ISO, ins::UPDATE_BINARY, UpdateBinary},
    {cla::ISO, ins::READ_RECORD, ReadRecord},
    {cla::ISO, ins::UPDATE_RECORD, UpdateRecord},
    {cla::ISO, ins::APPEND_RECORD, AppendRecord},
    {cla::ISO, ins::VERIFY, Verify},
    {cla::ISO, ins::CHANGE_REFERENCE_DATA, ChangeReferenceData},
    {cla::ISO, ins::RESET_RETRY_COUNTER, ResetRetryCounter},
    {cla::ISO, ins::GET_CHALLENGE, GetChallenge},
    {cla::ISO, ins::EXTERNAL_AUTHENTICATE, ExternalAuthenticate},
    {cla::ISO, ins::INTERNAL_AUTHENTICATE, InternalAuthenticate},
    {cla::ISO, ins::GET_DATA, GetData},
    {cla::ISO, ins::PUT_DATA, PutData},
    {cla::ISO, ins::CREATE_FILE, CreateFile},
    {cla::ISO, ins::DELETE_FILE, DeleteFile},
    {cla::ISO, ins::ACTIVATE, Activate},
    {cla::ISO, ins::DEACTIVATE, Deactivate},
    {cla::ISO, ins::MANAGE_SECURITY_ENVIRONMENT, ManageSecurityEnvironment},
    {cla::ISO, ins::PERFORM_SECURITY_OPERATION, PerformSecurityOperation},
    {cla::ISO, ins::GENERATE_KEY_PAIR, GenerateKeyPair},
    {cla::CARD, ins::GIVE_RANDOM, GiveRandom},
    {cla::CARD, ins::LIST_FILES, ListFiles},
    {cla::CARD, ins::TOGGLE_LIFE_CYCLE, ToggleLifeCycle},
    {cla::CARD, ins::CHANGE_REFERENCE_DATA, ChangeOrUnblock},
    {cla::CARD, ins::EXPORT_PUBLIC_KEY, ExportPublicKey},
    {cla::CARD_KEY, ins::CHANGE_KEY_DATA, ChangeKeyData},
    {cla::CARD_RSA, ins::LOAD_RSA_KEY, LoadRsaKey},
    {cla::CARD_RSA, ins::EXTEND_OBJECT, ExtendObject},
};

const SRow& FindRow(const SCommand& command)
{
    const auto bSameIns = [&](const SRow& row) { return row.bIns == command.bIns; };
    const auto bSameCla = [&](const SRow& row) { return row.bCla == command.bCla; };
    const auto it = std::find_if(std::begin(COMMANDS), std::end(COMMANDS),
                                 [&](const SRow& row) { return bSameCla(row) && bSameIns(row); });
    if (it != std::end(COMMANDS)) {
        return *it;
    }
    const bool bKnownCla = std::any_of(std::begin(COMMANDS), std::end(COMMANDS), bSameCla);
    const bool bKnownIns = std::any_of(std::begin(COMMANDS), std::end(COMMANDS), bSameIns);
    throw SRefusal(bKnownCla && !bKnownIns ? sw::UNKNOWN_INS : sw::UNKNOWN_CLA);
}

SAnswer Execute(SMachine& card, const SCommand& command)
{
    const SRow& row = FindRow(command);
    // Terminals send MANAGE SECURITY ENVIRONMENT with three zero bytes behind its data.
    Require(!command.bTrailingZeros || row.bIns == ins::MANAGE_SECURITY_ENVIRONMENT,
            sw::WRONG_LENGTH);
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
    if (command.bCla != cla::PROTECTED) {
        return WithinLe(command, Execute(card, command));
    }
    const SOpened opened = OpenCommand(card.session, command);
    return SealAnswer(opened, Execute(card, opened.command));
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
