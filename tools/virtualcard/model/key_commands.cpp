// SPDX-License-Identifier: Apache-2.0
//
// RSA keys: choosing, using, generating and loading them. Results of 2048-bit keys don't fit a
// short answer, so their commands name a file that holds the input and takes the result.
#include "model/commands.h"
#include "model/rsa.h"
#include "model/tlv.h"

#include <algorithm>

namespace vcard {

namespace {

constexpr std::size_t LONG_MODULUS = 256;

SSecurityObject& RequireRsaKey(const CSession& session, std::uint8_t bReference)
{
    return session.Object(bReference | REFERENCE_LOCAL, {EObjectKind::RSA_KEY});
}

/// The key of the security environment, or without one the RSA key nearest to the current DF.
const SSecurityObject& KeyInUse(const CSession& session)
{
    return session.m_bKeyReference != 0
               ? RequireRsaKey(session, session.m_bKeyReference)
               : session.Nearest(EObjectKind::RSA_KEY, sw::OBJECT_NOT_FOUND);
}

/// A transparent file with room for a long result, readable and writable to whoever asks.
SFile& RequireScratch(const CSession& session, SFile* pFile)
{
    Require(pFile != nullptr, sw::FILE_NOT_FOUND);
    Require(pFile->IsTransparent(), sw::INCOMPATIBLE_FILE);
    RequireAccess(session, pFile->abAccess[file_access::READ]);
    RequireAccess(session, pFile->abAccess[file_access::UPDATE]);
    Require(pFile->abBody.size() >= LONG_MODULUS, sw::NO_MEMORY);
    return *pFile;
}

/// The scratch file that the command's data, a file identifier, names in the current DF.
SFile& NamedScratch(const CSession& session, const SCommand& command)
{
    Require(command.abData.size() == 2, sw::WRONG_LENGTH);
    return RequireScratch(session, session.Df().Child(Word(command.abData[0], command.abData[1])));
}

/// What is to be signed, out of the scratch file: 9A, a length of one byte or 82 00 and a byte.
Bytes DataToSign(const SFile& scratch)
{
    constexpr std::uint8_t DATA = 0x9A, TWO_BYTE_LENGTH = 0x82;
    const ByteView block(scratch.abBody);
    Require(block[0] == DATA, sw::WRONG_DATA);
    const bool bLong = block[1] == TWO_BYTE_LENGTH;
    Require(bLong ? block[2] == 0 : block[1] < 0x80, sw::WRONG_DATA);
    const std::size_t offset = bLong ? 4 : 2, cb = block[offset - 1];
    Require(cb <= block.size() - offset, sw::WRONG_DATA);
    return Copy(block.subspan(offset, cb));
}

void Store(const Bytes& result, SFile& scratch)
{
    std::copy(result.begin(), result.end(), scratch.abBody.begin());
}

SAnswer Sign(SMachine& card, const SCommand& command, const Bytes& keyBlock)
{
    if (RsaModulusSize(keyBlock) != LONG_MODULUS) {
        const Bytes& data = command.abData.empty() ? card.session.m_abHash : command.abData;
        Require(!data.empty(), sw::CONDITIONS);
        return RsaSign(keyBlock, data);
    }
    SFile& scratch = NamedScratch(card.session, command);
    Store(RsaSign(keyBlock, DataToSign(scratch)), scratch);
    return {};
}

SAnswer Decipher(SMachine& card, const SCommand& command, const Bytes& keyBlock)
{
    if (RsaModulusSize(keyBlock) != LONG_MODULUS) {
        constexpr std::uint8_t WHOLE_CRYPTOGRAM = 0x00; // padding indicator of ISO/IEC 7816-8
        Require(!command.abData.empty() && command.abData[0] == WHOLE_CRYPTOGRAM, sw::WRONG_DATA);
        return RsaDecipher(keyBlock, ByteView(command.abData).subspan(1));
    }
    // The selected file is the card's working space; the named one holds input and result.
    RequireScratch(card.session, &card.session.Ef());
    SFile& scratch = NamedScratch(card.session, command);
    Store(RsaDecipher(keyBlock, ByteView(scratch.abBody).first(LONG_MODULUS)), scratch);
    return {};
}

void RequireLoadable(const CSession& session, const SSecurityObject& key, std::size_t position)
{
    if (!session.IsCreated(key)) {
        RequireAccess(session, key.abAccess[position]);
    }
}

void SetKey(CSession& session, SSecurityObject& key, const Bytes& keyBlock)
{
    key.abValue = keyBlock;
    session.Forget(key);
}

/// The public half, as two data objects with BER lengths: 81 modulus, 82 exponent.
Bytes PublicKeyObjects(const SRsaPublicKey& key)
{
    Bytes objects = {0x81, 0x82, High(key.abModulus.size()), Low(key.abModulus.size())};
    Append(objects, key.abModulus);
    AppendObject(objects, 0x82, key.abExponent);
    return objects;
}

} // namespace

SAnswer ManageSecurityEnvironment(SMachine& card, const SCommand& command)
{
    constexpr std::uint8_t RESTORE = 0xF3, PUBLIC_KEY = 0x83, PRIVATE_KEY = 0x84;
    if (command.bP1 == RESTORE) {
        card.session.m_bKeyReference = 0;
        return {};
    }
    const CDataObjects objects(command.abData, sw::WRONG_DATA);
    const bool bPrivate = objects.Find(PRIVATE_KEY) != nullptr;
    card.session.m_bKeyReference = objects.Value(bPrivate ? PRIVATE_KEY : PUBLIC_KEY, 1)[0];
    return {};
}

SAnswer PerformSecurityOperation(SMachine& card, const SCommand& command)
{
    constexpr std::uint16_t COMPUTE_SIGNATURE = 0x9E9A, DECIPHER = 0x8086, PUT_HASH = 0x9081;
    const std::uint16_t wOperation = command.P1P2();
    Require(wOperation == COMPUTE_SIGNATURE || wOperation == DECIPHER || wOperation == PUT_HASH,
            sw::WRONG_P1P2);
    if (wOperation == PUT_HASH) {
        Require(command.abData.size() == 20, sw::WRONG_LENGTH);
        card.session.m_abHash = command.abData;
        return {};
    }
    const SSecurityObject& key = KeyInUse(card.session);
    RequireAccess(card.session, key.abAccess[object_access::USE]);
    return (wOperation == DECIPHER ? Decipher : Sign)(card, command, key.abValue);
}

SAnswer ExportPublicKey(SMachine& card, const SCommand& command)
{
    Require(card.image.bOtherFamily, sw::UNKNOWN_INS);
    Require(command.P1P2() == 0x9C00, sw::WRONG_P1P2);
    Require(command.abData.size() == 1, sw::WRONG_LENGTH);
    const SSecurityObject& key = RequireRsaKey(card.session, command.abData[0]);
    const SRsaPublicKey publicKey = RsaPublicKey(key.abValue);

    // Ten bytes of header, bit 7 of the ninth clear for big-endian numbers; then each number
    // behind its length, the exponent first.
    Bytes answer(10);
    for (const Bytes& number : {publicKey.abExponent, publicKey.abModulus}) {
        answer.push_back(Low(number.size()));
        Append(answer, number);
    }
    return answer;
}

SAnswer GenerateKeyPair(SMachine& card, const SCommand& command)
{
    // Class, number, public key file, two fixed bytes, then optionally the size in bits and the
    // exponent with its length byte and a leading 00. Size 0 means 2048.
    Require(command.P1P2() == 0, sw::WRONG_P1P2);
    const ByteView data(command.abData);
    Require(data.size() == 6 || data.size() >= 8, sw::WRONG_LENGTH);
    const std::uint16_t wBits = data.size() > 6 ? Word(data[6], data[7]) : std::uint16_t{0};
    const ByteView exponent = data.size() > 10 ? data.subspan(10) : ByteView{};
    Require(data.size() <= 8 || (!exponent.empty() && data[8] == exponent.size() + 1),
            sw::WRONG_DATA);

    SSecurityObject& key = RequireRsaKey(card.session, data[1]);
    SFile* pPublic = card.session.Df().Child(Word(data[2], data[3]));
    Require(pPublic != nullptr, sw::FILE_NOT_FOUND);
    Require(pPublic->IsTransparent(), sw::INCOMPATIBLE_FILE);
    RequireLoadable(card.session, key, object_access::GENERATE);
    const Bytes keyBlock = GenerateRsaKey(wBits != 0 ? wBits : 2048, exponent);
    const Bytes publicKey = PublicKeyObjects(RsaPublicKey(keyBlock));
    Require(publicKey.size() <= pPublic->abBody.size(), sw::NO_MEMORY);

    Store(publicKey, *pPublic);
    SetKey(card.session, key, keyBlock);
    return {};
}

SAnswer ExtendObject(SMachine& card, const SCommand& command)
{
    // The objects of this card are as large as their values: there is nothing to extend.
    RequireRsaKey(card.session, command.bP2);
    return {};
}

SAnswer LoadRsaKey(SMachine& card, const SCommand& command)
{
    SSecurityObject& key = RequireRsaKey(card.session, command.bP2);
    const SFile& ef = card.session.Ef();
    Require(ef.IsTransparent(), sw::INCOMPATIBLE_FILE);
    RequireAccess(card.session, ef.abAccess[file_access::READ]);
    Require(IsSoundKeyBlock(ef.abBody), sw::WRONG_DATA);
    RequireLoadable(card.session, key, object_access::CHANGE);
    SetKey(card.session, key, ef.abBody);
    return {};
}

} // namespace vcard
