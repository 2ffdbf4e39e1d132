// SPDX-License-Identifier: Apache-2.0
//
// PINs and PUKs: verifying, changing, unblocking; and new key values.
#include "model/commands.h"
#include "model/values.h"

namespace vcard {

namespace {

void RequireProtection(const SCommand& command, const SSecurityObject& object, std::size_t use)
{
    Require(command.bProtected || !object.NeedsSm(use), sw::SM_OBJECTS_MISSING);
}

/// Compares a value; the object is verified afterwards only if it was right.
void Present(CSession& session, SSecurityObject& object, ByteView value)
{
    session.ClearVerified(object);
    object.Present(value);
    session.SetVerified(object);
}

/// Takes a new value that arrived, counting it whether or not it is acceptable.
void TakeNewValue(SMachine& card, SSecurityObject& object, ByteView value)
{
    ++object.cNewValues;
    SetValue(card.image, object, value);
}

/// A new value alone: the creator of an object may set it once, then its condition decides.
void ChangeAlone(SMachine& card, SSecurityObject& object, ByteView value)
{
    Require(object.bActive, sw::DEACTIVATED);
    if (!card.session.IsCreated(object)) {
        RequireAccess(card.session, object.abAccess[object_access::CHANGE]);
    }
    TakeNewValue(card, object, value);
    card.session.ClearCreated(object);
    if (!card.image.bStaysVerified) {
        card.session.ClearVerified(object); // the new value has yet to be proved
    }
}

/// Old and new value in a row.
void ChangeWithOld(SMachine& card, SSecurityObject& object, ByteView data)
{
    const std::size_t cbOld = std::min(data.size(), object.abValue.size());
    Require(data.size() > cbOld, sw::WRONG_LENGTH);
    Present(card.session, object, data.first(cbOld));
    TakeNewValue(card, object, data.subspan(cbOld));
}

/// PUK and new PIN in a row, the PIN always with its filler; the PIN's unblock condition names the
/// PUK.
void Unblock(SMachine& card, SSecurityObject& pin, ByteView data)
{
    SSecurityObject& puk = card.session.Object(
        pin.abAccess[object_access::UNBLOCK] | REFERENCE_LOCAL, {EObjectKind::PIN});
    Require(data.size() > MAX_PIN, sw::WRONG_LENGTH);
    Require(pin.bActive, sw::DEACTIVATED);
    const ByteView pukValue = data.first(data.size() - MAX_PIN);
    Present(card.session, puk, pukValue);
    TakeNewValue(card, pin, data.last(MAX_PIN));
    pin.bTriesLeft = pin.MaxTries();
    card.session.ClearVerified(pin);
}

SAnswer TellTries(const CSession& session, const SSecurityObject& object)
{
    Require(object.bActive, sw::DEACTIVATED);
    Require(object.bTriesLeft > 0, sw::BLOCKED);
    if (session.IsVerified(object)) {
        return {};
    }
    return {{}, static_cast<std::uint16_t>(sw::WRONG_SECRET | object.bTriesLeft)};
}

} // namespace

SAnswer Verify(SMachine& card, const SCommand& command)
{
    Require(command.bP1 == 0, sw::WRONG_P1P2);
    SSecurityObject& object = card.session.Object(command.bP2, {EObjectKind::PIN});
    if (command.abData.empty()) {
        return TellTries(card.session, object);
    }
    RequireProtection(command, object, object_sm::USE);
    RequireAccess(card.session, object.abAccess[object_access::USE]);
    Present(card.session, object, command.abData);
    return {};
}

SAnswer ChangeReferenceData(SMachine& card, const SCommand& command)
{
    // P1: bit 1 set for a new value alone, the object's class in the bits above it.
    const bool bAlone = (command.bP1 & 0x01) != 0;
    const bool bKeyClass = (command.bP1 >> 1 & (object_class::RSA | object_class::SM)) != 0;
    SSecurityObject& object =
        bKeyClass ? card.session.Object(command.bP2, {EObjectKind::SM_KEY, EObjectKind::RSA_KEY})
                  : card.session.Object(command.bP2, {EObjectKind::PIN, EObjectKind::AUTH_KEY});
    RequireProtection(command, object, object_sm::CHANGE);
    Require(!command.abData.empty(), sw::WRONG_LENGTH);
    (bAlone ? ChangeAlone : ChangeWithOld)(card, object, command.abData);
    return {};
}

SAnswer ResetRetryCounter(SMachine& card, const SCommand& command)
{
    Require(command.bP1 == 0, sw::WRONG_P1P2);
    SSecurityObject& pin = card.session.Object(command.bP2, {EObjectKind::PIN});
    RequireProtection(command, pin, object_sm::UNBLOCK);
    Unblock(card, pin, command.abData);
    return {};
}

SAnswer ChangeOrUnblock(SMachine& card, const SCommand& command)
{
    constexpr std::uint8_t OLD_AND_NEW = 0x20, PUK_AND_NEW = 0x30;
    Require(card.image.bOtherFamily, sw::UNKNOWN_CLA);
    Require(command.bP1 == OLD_AND_NEW || command.bP1 == PUK_AND_NEW, sw::WRONG_P1P2);
    SSecurityObject& pin = card.session.Object(command.bP2, {EObjectKind::PIN});
    (command.bP1 == OLD_AND_NEW ? ChangeWithOld : Unblock)(card, pin, command.abData);
    return {};
}

SAnswer ChangeKeyData(SMachine& card, const SCommand& command)
{
    const bool bKeyClass = (command.bP1 & (object_class::RSA | object_class::SM)) != 0;
    Require(bKeyClass, sw::WRONG_P1P2);
    SSecurityObject& key = card.session.Object(command.bP2 | REFERENCE_LOCAL,
                                               {EObjectKind::SM_KEY, EObjectKind::RSA_KEY});
    RequireProtection(command, key, object_sm::CHANGE);
    Require(!command.abData.empty(), sw::WRONG_LENGTH);
    ChangeAlone(card, key, command.abData);
    return {};
}

} // namespace vcard
