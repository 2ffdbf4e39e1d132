// SPDX-License-Identifier: Apache-2.0
//
// The envelopes: SMx4 (a MAC behind the data, perhaps all of it enciphered) and SMxC (the
// secure-messaging objects of ISO/IEC 7816-4).

#include "cardlib/sm_sig_enc.h"

#include "cardlib/crypt.h"
#include "cardlib/crypto/descore.h"
#include "cardlib/crypto/padding.h"
#include "cardlib/crypto/smxc.h"

#include <algorithm>
#include <array>

using descore::BLOCK;

namespace {

constexpr unsigned long MAC = 8;
constexpr unsigned long HEADER = 5; // CLA INS P1 P2 Lc
constexpr unsigned long MAX_LC = 255;
constexpr unsigned long TAG_AND_LENGTH = CTlv::HEADER;
constexpr unsigned long MAX_OBJECT = TAG_AND_LENGTH + 255;

constexpr unsigned char CLA_PROTECTED = 0x0C; // secure messaging, header authenticated
constexpr unsigned char ISO_PADDING = 0x01;   // padding indicator of a cryptogram

namespace object { // secure-messaging objects; an odd tag says that the MAC covers the object
constexpr unsigned char PLAIN = 0x80, PLAIN_SIGNED = 0x81;
constexpr unsigned char CRYPTOGRAM = 0x86, CRYPTOGRAM_SIGNED = 0x87;
constexpr unsigned char CHECKSUM = 0x8E;
} // namespace object

constexpr unsigned long RoundUp(unsigned long cb)
{
    return (cb + BLOCK - 1) / BLOCK * BLOCK;
}

constexpr unsigned long IsoPaddedLen(unsigned long cb)
{
    return RoundUp(cb + 1);
}

constexpr unsigned char Byte(unsigned long n)
{
    return static_cast<unsigned char>(n);
}

/// Copies cb bytes, or steps over them when there are none to copy, and returns where the next go.
unsigned char* Append(unsigned char* pOut, const unsigned char* pb, unsigned long cb)
{
    return pb == nullptr ? pOut + cb : std::copy_n(pb, cb, pOut);
}

unsigned char* AppendHeader(unsigned char* pOut, unsigned char cla, unsigned char ins,
                            unsigned char p1, unsigned char p2, unsigned long ulLc)
{
    const unsigned char header[HEADER] = {cla, ins, p1, p2, Byte(ulLc)};
    return Append(pOut, header, HEADER);
}

/// A command with a MAC behind its data, which covers all but the class byte.
unsigned char* AppendSigned(unsigned char* pOut, const unsigned char* Des3_Key, unsigned char cla,
                            unsigned char ins, unsigned char p1, unsigned char p2,
                            const unsigned char* pData, unsigned long cbData)
{
    unsigned char* const pMac =
        Append(AppendHeader(pOut, cla, ins, p1, p2, cbData + MAC), pData, cbData);
    const unsigned char* const pCovered = pOut + 1;
    MAC3_AnsiPadded(Des3_Key, pCovered, static_cast<unsigned long>(pMac - pCovered), pMac);
    return pMac + MAC;
}

/// What the checksum of a command or response covers.
class CMacInput {
public:
    void Add(const unsigned char* pb, unsigned long cb)
    {
        Append(m_ab.data() + m_cb, pb, cb);
        m_cb += cb;
    }

    /// The caller's class bits, marked as protected, and the rest of the header.
    void AddHeader(const smxc::SMaterial& plain)
    {
        const unsigned char header[] = {Byte((plain.cla & 0xF0U) | CLA_PROTECTED), plain.ins,
                                        plain.p1, plain.p2};
        Add(header, sizeof header);
    }

    void PadHeader() { m_cb = RoundUp(m_cb); }

    void AddPadded(const unsigned char* pObject, unsigned long cbObject)
    {
        Add(pObject, cbObject);
        m_cb += RoundUp(cbObject) - cbObject;
    }

    void ComputeMac(const unsigned char* Des3_Key, unsigned char* pMac) const
    {
        MAC3_AnsiPadded(Des3_Key, m_ab.data(), m_cb, pMac);
    }

private:
    std::array<unsigned char, 2 * BLOCK + RoundUp(MAX_OBJECT)> m_ab{};
    unsigned long m_cb = 0;
};

/// The object of the first of two tags, or else of the second.
CTlv FindEither(const CTlv& response, unsigned char bTag, unsigned char bElseTag)
{
    const CTlv found = response.Find(bTag);
    return found ? found : response.Find(bElseTag);
}

/// Whether the checksum begins with the MAC, in a time that does not depend on where they differ.
bool Matches(const CTlv& checksum, const unsigned char* pMac)
{
    if (checksum.size() < MAC) {
        return false;
    }
    unsigned char differing = 0;
    for (unsigned long n = 0; n < MAC; ++n) {
        differing |= static_cast<unsigned char>(checksum[n] ^ pMac[n]);
    }
    return differing == 0;
}

/// \return whether there is a plain text.
bool Decipher(const unsigned char* Des3_Key, const CTlv& cryptogram,
              CSecret<smxc::MAX_PLAIN>& plain, unsigned long& cbPlain)
{
    constexpr unsigned long NO_PADDING = 0xFFFFFFFF;
    if (cryptogram.size() == 0) { // not even a padding indicator
        return false;
    }
    const unsigned long cbCipher = cryptogram.size() - 1;
    (void)plain.Assign(cryptogram.data() + 1, cbCipher, 0); // fits: a length of one byte
    doencrypt(Des3_Key, plain.data(), cbCipher, 1);
    cbPlain = IsoPadded_GetUnpaddedLen(plain.data(), cbCipher);
    return cbPlain != NO_PADDING;
}

/// A result that the caller frees. Null and of no length when there is no memory for it.
unsigned char* HandOut(const unsigned char* pb, std::size_t cb, unsigned long& cbOut)
{
    CWipedArray copy = CWipedArray::Zeroed(cb);
    cbOut = copy.size();
    if (copy) {
        Append(copy.data(), pb, cb);
    }
    return copy.Release();
}

} // namespace

unsigned char* SMx4_SIG(const unsigned char* Des3_Key, unsigned char cla, unsigned char ins,
                        unsigned char p1, unsigned char p2, const unsigned char* pData,
                        unsigned long* pcbData, unsigned char* Mac3)
{
    if (Des3_Key == nullptr || pcbData == nullptr || Mac3 == nullptr || *pcbData > MAX_LC - MAC) {
        return nullptr;
    }
    CWipedArray command = CWipedArray::Zeroed(HEADER + *pcbData + MAC);
    if (!command) {
        return nullptr;
    }
    const unsigned char* const pEnd =
        AppendSigned(command.data(), Des3_Key, cla, ins, p1, p2, pData, *pcbData);
    Append(Mac3, pEnd - MAC, MAC);
    *pcbData = command.size();
    return command.Release();
}

unsigned char* SMx4_SIG_ENC(const unsigned char* Des3_Key, unsigned char cla, unsigned char ins,
                            unsigned char p1, unsigned char p2, const unsigned char* pData,
                            unsigned long* pcbData)
{
    if (Des3_Key == nullptr || pcbData == nullptr || *pcbData > MAX_LC) {
        return nullptr;
    }
    const unsigned long cbCipher = IsoPaddedLen(*pcbData + MAC);
    CWipedArray command = CWipedArray::Zeroed(HEADER + cbCipher);
    if (cbCipher > MAX_LC || !command) {
        return nullptr;
    }
    *AppendSigned(command.data(), Des3_Key, cla, ins, p1, p2, pData, *pcbData) = PAD_START;
    unsigned char* const pCipher = AppendHeader(command.data(), cla, ins, p1, p2, cbCipher);
    doencrypt(Des3_Key, pCipher, cbCipher, 0);
    *pcbData = command.size();
    return command.Release();
}

std::size_t smxc::Seal(const SMaterial& material, const unsigned char* pData, std::size_t cbData,
                       CSecret<MAX_SEALED>& sealed)
{
    if (cbData > MAX_LC) {
        return 0;
    }
    const unsigned long cbCipher = IsoPaddedLen(cbData);
    const unsigned long cbCryptogram = TAG_AND_LENGTH + 1 + cbCipher;
    const unsigned long cbLc = cbCryptogram + TAG_AND_LENGTH + MAC;
    if (cbLc > MAX_LC) {
        return 0;
    }
    // On purpose, as the card wants it: the class sent is 0C, the one authenticated the caller's.
    unsigned char* const pCryptogram =
        AppendHeader(sealed.data(), CLA_PROTECTED, material.ins, material.p1, material.p2, cbLc);
    const unsigned char opening[] = {object::CRYPTOGRAM_SIGNED, Byte(1 + cbCipher), ISO_PADDING};
    unsigned char* const pCipher = Append(pCryptogram, opening, sizeof opening);
    *Append(pCipher, pData, cbData) = PAD_START;
    doencrypt(material.pKeyEnc, pCipher, cbCipher, 0);

    CMacInput input;
    if (material.pRandom != nullptr) {
        input.Add(material.pRandom, BLOCK);
    }
    input.AddHeader(material);
    input.PadHeader();
    input.AddPadded(pCryptogram, cbCryptogram);
    const unsigned char checksum[] = {object::CHECKSUM, MAC};
    input.ComputeMac(material.pKeySig, Append(pCipher + cbCipher, checksum, sizeof checksum));
    return HEADER + cbLc + 1; // ends with Le 00
}

smxc::EOpened smxc::Open(const SMaterial& material, const CTlv& answer, CSecret<MAX_PLAIN>& plain,
                         unsigned long& cbPlain)
{
    cbPlain = 0;
    const CTlv cryptogram = FindEither(answer, object::CRYPTOGRAM_SIGNED, object::CRYPTOGRAM);
    const CTlv clear = FindEither(answer, object::PLAIN_SIGNED, object::PLAIN);
    if (!answer.IsChain() || (!cryptogram && !clear)) {
        return EOpened::NOT_PROTECTED;
    }
    // An answer without a checksum passes: the card may leave it out.
    if (const CTlv checksum = answer.Find(object::CHECKSUM); checksum) {
        CMacInput input; // on purpose: the header is not padded here, unlike in a command
        input.Add(material.pRandom, BLOCK);
        input.AddHeader(material);
        if (const CTlv covered =
                FindEither(answer, object::CRYPTOGRAM_SIGNED, object::PLAIN_SIGNED);
            covered) {
            input.AddPadded(covered.Element().data(), covered.Element().size());
        }
        unsigned char mac[MAC];
        input.ComputeMac(material.pKeySig, mac);
        if (!Matches(checksum, mac)) {
            return EOpened::WRONG_CHECKSUM;
        }
    }
    if (cryptogram) {
        return Decipher(material.pKeyEnc, cryptogram, plain, cbPlain) ? EOpened::OPENED
                                                                      : EOpened::UNREADABLE;
    }
    (void)plain.Assign(clear.data(), clear.size(), 0); // fits: a length of one byte
    cbPlain = clear.size();
    return EOpened::OPENED;
}

unsigned char* SMxC_ENC_SIG(const unsigned char* Des3_Key_SIG, const unsigned char* Des3_Key_ENC,
                            const unsigned char* RandomDataBlock, unsigned char cla,
                            unsigned char ins, unsigned char p1, unsigned char p2,
                            const unsigned char* pData, unsigned long cbData,
                            unsigned char /*Le: no 97 object is sent*/,
                            unsigned long* pcbEncodedApdu)
{
    if (pcbEncodedApdu == nullptr) {
        return nullptr;
    }
    *pcbEncodedApdu = 0;
    if (Des3_Key_SIG == nullptr || Des3_Key_ENC == nullptr) {
        return nullptr;
    }
    CSecret<smxc::MAX_SEALED> sealed;
    const std::size_t cb = smxc::Seal(
        {Des3_Key_SIG, Des3_Key_ENC, RandomDataBlock, cla, ins, p1, p2}, pData, cbData, sealed);
    return cb == 0 ? nullptr : HandOut(sealed.data(), cb, *pcbEncodedApdu);
}

unsigned char* SMxC_VRF_DEC(const unsigned char* Des3_Key_SIG, const unsigned char* Des3_Key_ENC,
                            const unsigned char* RandomDataBlock, unsigned char cla,
                            unsigned char ins, unsigned char p1, unsigned char p2,
                            const unsigned char* pEncodedResponse, unsigned long cbEncodedResponse,
                            unsigned long& cbDecodedDataLen, BOOL& bVerifyResult, BOOL& bWasDecoded)
{
    cbDecodedDataLen = 0;
    bVerifyResult = 0;
    bWasDecoded = 0;
    if (Des3_Key_SIG == nullptr || Des3_Key_ENC == nullptr) {
        return nullptr;
    }
    CSecret<smxc::MAX_PLAIN> plain;
    const smxc::EOpened eOpened =
        smxc::Open({Des3_Key_SIG, Des3_Key_ENC, RandomDataBlock, cla, ins, p1, p2},
                   CTlv(pEncodedResponse, cbEncodedResponse), plain, cbDecodedDataLen);
    bWasDecoded = eOpened != smxc::EOpened::NOT_PROTECTED ? 1 : 0;
    bVerifyResult = bWasDecoded != 0 && eOpened != smxc::EOpened::WRONG_CHECKSUM ? 1 : 0;
    return eOpened == smxc::EOpened::OPENED
               ? HandOut(plain.data(), cbDecodedDataLen, cbDecodedDataLen)
               : nullptr;
}
