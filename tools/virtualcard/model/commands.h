// SPDX-License-Identifier: Apache-2.0
//
// The commands of the card, one function each, grouped by the file that holds them. Each gets a
// command with the class and instruction it is listed for, and returns data and a status word or
// throws SRefusal. A refused command has changed nothing but try counters and security status.
#ifndef TOOLS_VIRTUALCARD_MODEL_COMMANDS_H
#define TOOLS_VIRTUALCARD_MODEL_COMMANDS_H

#include "model/apdu.h"
#include "model/machine.h"

namespace vcard {

// file_commands.cpp
SAnswer Select(SMachine& card, const SCommand& command);
SAnswer ReadBinary(SMachine& card, const SCommand& command);
SAnswer UpdateBinary(SMachine& card, const SCommand& command);
SAnswer ListFiles(SMachine& card, const SCommand& command);

// t0_answers.cpp
SAnswer GetResponse(SMachine& card, const SCommand& command);

// record_commands.cpp
SAnswer ReadRecord(SMachine& card, const SCommand& command);
SAnswer UpdateRecord(SMachine& card, const SCommand& command);
SAnswer AppendRecord(SMachine& card, const SCommand& command);

// secret_commands.cpp
SAnswer Verify(SMachine& card, const SCommand& command);
SAnswer ChangeReferenceData(SMachine& card, const SCommand& command);
SAnswer ResetRetryCounter(SMachine& card, const SCommand& command);
SAnswer ChangeOrUnblock(SMachine& card, const SCommand& command);
SAnswer ChangeKeyData(SMachine& card, const SCommand& command);

// authentication_commands.cpp
SAnswer GetChallenge(SMachine& card, const SCommand& command);
SAnswer GiveRandom(SMachine& card, const SCommand& command);
SAnswer ExternalAuthenticate(SMachine& card, const SCommand& command);
SAnswer InternalAuthenticate(SMachine& card, const SCommand& command);

// admin_commands.cpp
SAnswer GetData(SMachine& card, const SCommand& command);
SAnswer PutData(SMachine& card, const SCommand& command);
SAnswer ToggleLifeCycle(SMachine& card, const SCommand& command);
SAnswer CreateFile(SMachine& card, const SCommand& command);
SAnswer DeleteFile(SMachine& card, const SCommand& command);
SAnswer Activate(SMachine& card, const SCommand& command);
SAnswer Deactivate(SMachine& card, const SCommand& command);

// key_commands.cpp
SAnswer ManageSecurityEnvironment(SMachine& card, const SCommand& command);
SAnswer PerformSecurityOperation(SMachine& card, const SCommand& command);
SAnswer ExportPublicKey(SMachine& card, const SCommand& command);
SAnswer GenerateKeyPair(SMachine& card, const SCommand& command);
SAnswer ExtendObject(SMachine& card, const SCommand& command);
SAnswer LoadRsaKey(SMachine& card, const SCommand& command);

} // namespace vcard

#endif
