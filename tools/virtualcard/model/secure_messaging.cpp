// SPDX-License-Identifier: Apache-2.0
//
// Envelopes of ISO/IEC 7816-4 secure messaging in this card's dialect: randoms of both sides in
// the checksums, zero padding, lengths of one byte.
#include "model/secure_messaging.h"

#include "model/crypto.h"
#include "model/tlv.h"

#include <algorithm>

namespace vcard {

namespace {

constexpr std::uint8_t ISO_PADDING = 0x01; // padding indicator of a cryptogram object
constexpr std::size_t RANDOM = 8;
// The most data that still leaves the sealed answer within 255 bytes.
constexpr std::size_t MAX_SEALED_DATA = 239;

/// The class byte in a checksum: that of the plain command with both protection bits. On the way
/// in the envelope itself always says 0C, so only the checksum tells which class was meant.
std::uint8_t ChecksumClass(std::uint8_t bPlainCla)
{
    return (bPlainCla & 0xF0) | cla::PROTECTED;
}

Bytes Header(const SCommand& command, std::uint8_t bPlainCla)
{
    return {ChecksumClass(bPlainCla), command.bIns, command.bP1, command.bP2};
}

const Bytes& NearestKey(const CSession& session)
{
    const Bytes& key = session.Nearest(EObjectKind::SM_KEY, sw::NO_SM_HERE).abValue;
    Require(key.size() == DES3_KEY, sw::NO_SM_HERE);
    return key;
}

Bytes CommandChecksum(const Bytes& key, const Bytes& challenge, const Bytes& header,
                      ByteView cryptogramObject)
{
    Bytes input = challenge;
    Append(input, header);
    input = PadZeros(std::move(input));
    Append(input, cryptogramObject);
    return RetailMac(key, input);
}

std::uint8_t CheckedClass(const Bytes& key, const Bytes& challenge, const SCommand& envelope,
                          const SDataObject& cryptogram, const SDataObject& checksum)
{
    for (const std::uint8_t bCla : {cla::ISO, cla::CARD, cla::CARD_KEY, cla::CARD_RSA}) {
        if (SecretsEqual(checksum.value, CommandChecksum(key, challenge, Header(envelope, bCla),
                                                         cryptogram.whole))) {
            return bCla;
        }
    }
    throw SRefusal(sw::SM_OBJECTS_WRONG);
}

Bytes Decipher(const Bytes& key, ByteView value)
{
    Require(value.size() > DES_BLOCK && value.size() % DES_BLOCK == 1 && value[0] == ISO_PADDING,
            sw::SM_OBJECTS_WRONG);
    return UnpadIso(Des3Decrypt(key, Copy(value.subspan(1))));
}

} // namespace

SOpened OpenCommand(CSession& session, const SCommand& envelope)
{
    const Bytes challenge = session.TakeChallenge();
    SOpened opened{envelope, {}, session.TakeHostRandom()};
    opened.abKey = NearestKey(session);
    const CDataObjects objects(envelope.abData, sw::SM_OBJECTS_WRONG);
    const SDataObject* pCryptogram = objects.Find(tag::SM_CRYPTOGRAM);
    const SDataObject* pChecksum = objects.Find(tag::SM_CHECKSUM);
    Require(challenge.size() == RANDOM && opened.abHostRandom.size() == RANDOM &&
                pCryptogram != nullptr && pChecksum != nullptr,
            sw::SM_OBJECTS_MISSING);

    SCommand& command = opened.command;
    command.bCla = CheckedClass(opened.abKey, challenge, envelope, *pCryptogram, *pChecksum);
    command.abData = Decipher(opened.abKey, pCryptogram->value);
    command.bProtected = true;
    command.bExactLe = false; // the Le inside is not carried
    command.cbLe = MAX_SEALED_DATA;
    return opened;
}

SAnswer SealAnswer(const SOpened& opened, const SAnswer& answer)
{
    if (answer.abData.empty()) {
        return answer;
    }
    Require(answer.abData.size() <= MAX_SEALED_DATA, sw::WRONG_LENGTH);

    Bytes cryptogram = {ISO_PADDING};
    Append(cryptogram, Des3Encrypt(opened.abKey, PadIso(answer.abData)));
    SAnswer sealed;
    sealed.wStatus = answer.wStatus;
    AppendObject(sealed.abData, tag::SM_CRYPTOGRAM, cryptogram);

    // On the way back the header is not padded before the object: on purpose, terminals expect it.
    Bytes input = opened.abHostRandom;
    Append(input, Header(opened.command, opened.command.bCla));
    Append(input, PadZeros(sealed.abData));
    AppendObject(sealed.abData, tag::SM_CHECKSUM, RetailMac(opened.abKey, input));
    return sealed;
}

} // namespace vcard
