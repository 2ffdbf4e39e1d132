// SPDX-License-Identifier: Apache-2.0
//
// The rows, by class and instruction.
#include "model/command_table.h"

#include "model/commands.h"

namespace vcard {

namespace {

constexpr bool SECRET = true, OPEN = false;

constexpr SCommandRow COMMANDS[] = {
    {cla::ISO, ins::DEACTIVATE, OPEN, "DEACTIVATE FILE", Deactivate},
    {cla::ISO, ins::VERIFY, SECRET, "VERIFY", Verify},
    {cla::ISO, ins::MANAGE_SECURITY_ENVIRONMENT, OPEN, "MANAGE SECURITY ENVIRONMENT",
     ManageSecurityEnvironment},
    {cla::ISO, ins::CHANGE_REFERENCE_DATA, SECRET, "CHANGE REFERENCE DATA", ChangeReferenceData},
    {cla::ISO, ins::PERFORM_SECURITY_OPERATION, OPEN, "PERFORM SECURITY OPERATION",
     PerformSecurityOperation},
    {cla::ISO, ins::RESET_RETRY_COUNTER, SECRET, "RESET RETRY COUNTER", ResetRetryCounter},
    {cla::ISO, ins::ACTIVATE, OPEN, "ACTIVATE FILE", Activate},
    {cla::ISO, ins::GENERATE_KEY_PAIR, OPEN, "GENERATE KEY PAIR", GenerateKeyPair},
    {cla::ISO, ins::EXTERNAL_AUTHENTICATE, SECRET, "EXTERNAL AUTHENTICATE", ExternalAuthenticate},
    {cla::ISO, ins::GET_CHALLENGE, OPEN, "GET CHALLENGE", GetChallenge},
    {cla::ISO, ins::INTERNAL_AUTHENTICATE, OPEN, "INTERNAL AUTHENTICATE", InternalAuthenticate},
    {cla::ISO, ins::SELECT, OPEN, "SELECT", Select},
    {cla::ISO, ins::READ_BINARY, OPEN, "READ BINARY", ReadBinary},
    {cla::ISO, ins::READ_RECORD, OPEN, "READ RECORD", ReadRecord},
    {cla::ISO, ins::GET_RESPONSE, SECRET, "GET RESPONSE", GetResponse},
    {cla::GSM, ins::GET_RESPONSE, SECRET, "GET RESPONSE", GetResponse},
    {cla::ISO, ins::GET_DATA, OPEN, "GET DATA", GetData},
    {cla::ISO, ins::UPDATE_BINARY, SECRET, "UPDATE BINARY", UpdateBinary}, // a key to load
    {cla::ISO, ins::PUT_DATA, SECRET, "PUT DATA", PutData},
    {cla::ISO, ins::UPDATE_RECORD, OPEN, "UPDATE RECORD", UpdateRecord},
    {cla::ISO, ins::CREATE_FILE, OPEN, "CREATE FILE", CreateFile},
    {cla::ISO, ins::APPEND_RECORD, OPEN, "APPEND RECORD", AppendRecord},
    {cla::ISO, ins::DELETE_FILE, OPEN, "DELETE FILE", DeleteFile},
    {cla::CARD, ins::TOGGLE_LIFE_CYCLE, OPEN, "PHASE CONTROL", ToggleLifeCycle},
    {cla::CARD, ins::LIST_FILES, OPEN, "LIST FILES", ListFiles},
    {cla::CARD, ins::CHANGE_REFERENCE_DATA, SECRET, "CHANGE OR UNBLOCK", ChangeOrUnblock},
    {cla::CARD, ins::GIVE_RANDOM, OPEN, "GIVE RANDOM", GiveRandom},
    {cla::CARD, ins::EXPORT_PUBLIC_KEY, OPEN, "EXPORT PUBLIC KEY", ExportPublicKey},
    {cla::CARD_KEY, ins::CHANGE_KEY_DATA, SECRET, "CHANGE KEY DATA", ChangeKeyData},
    {cla::CARD_RSA, ins::LOAD_RSA_KEY, OPEN, "LOAD RSA KEY", LoadRsaKey},
    {cla::CARD_RSA, ins::EXTEND_OBJECT, OPEN, "EXTEND OBJECT", ExtendObject},
};

} // namespace

std::span<const SCommandRow> Commands()
{
    return COMMANDS;
}

} // namespace vcard
