// SPDX-License-Identifier: Apache-2.0
//
// Randoms of both sides and proofs of keys.
#include "model/commands.h"
#include "model/crypto.h"
#include "model/rsa.h"

namespace vcard {

SAnswer GetChallenge(SMachine& card, const SCommand& command)
{
    Require(command.P1P2() == 0, sw::WRONG_P1P2);
    Require(command.abData.empty() && command.bHasLe, sw::WRONG_LENGTH);
    Bytes challenge = RandomBytes(command.cbLe);
    card.session.SetChallenge(challenge);
    return challenge;
}

SAnswer GiveRandom(SMachine& card, const SCommand& command)
{
    Require(command.P1P2() == 0, sw::WRONG_P1P2);
    Require(command.abData.size() == 8, sw::WRONG_LENGTH);
    card.session.SetHostRandom(command.abData);
    return {};
}

SAnswer ExternalAuthenticate(SMachine& card, const SCommand& command)
{
    Require(command.bP1 == 0, sw::WRONG_P1P2);
    Require(command.abData.size() == 8, sw::WRONG_LENGTH);
    SSecurityObject& key = card.session.Object(command.bP2, {EObjectKind::AUTH_KEY});
    const Bytes challenge = card.session.TakeChallenge();
    Require(!challenge.empty(), sw::CONDITIONS);
    Require(key.abValue.size() == DES3_KEY, sw::CONDITIONS);

    card.session.ClearVerified(key);
    ++key.cPresented;
    Require(key.bActive, sw::DEACTIVATED);
    key.Prove(SecretsEqual(command.abData, RetailMac(key.abValue, challenge)));
    card.session.SetVerified(key);
    return {};
}

SAnswer InternalAuthenticate(SMachine& card, const SCommand& command)
{
    // RSA keys only: a checksum over data of the caller's choice would answer any challenge that
    // the card sets for its own Triple-DES keys.
    Require(command.bP1 == 0, sw::WRONG_P1P2);
    const SSecurityObject& key = card.session.Object(command.bP2, {EObjectKind::RSA_KEY});
    RequireAccess(card.session, key.abAccess[object_access::USE]);
    return RsaSign(key.abValue, command.abData);
}

} // namespace vcard
