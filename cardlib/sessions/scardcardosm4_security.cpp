// SPDX-License-Identifier: Apache-2.0
//
// CardOS M4: PINs, keys and the cryptographic commands.

#include "cardlib/scardcardosm4.h"

#include "cardlib/sessions/adminlifecycle.h"
#include "cardlib/sessions/apdu.h"
#include "cardlib/sessions/boundcard.h"
#include "cardlib/sm_sig_enc.h"
#include "cardlib/support/secret.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

constexpr CK_ULONG CHALLENGE_LENGTH = 8;
constexpr CK_ULONG SIGNATURE_1024 = 128;
constexpr CK_BYTE MAX_DATA_TO_SIGN = 250;

/// Hands an answer's data to a caller's buffer; null asks for the length.
long CopyOut(CResponseApdu& response, CK_BYTE* pbOut, CK_ULONG* pcbOut)
{
    const CK_ULONG cb = response.DataLength();
    const CK_ULONG cbCapacity = *pcbOut;
    *pcbOut = cb;
    if (pbOut == nullptr) {
        return 0;
    }
    if (cb > cbCapacity) {
        return eM4Error_invalid_args;
    }
    std::memcpy(pbOut, response.data(), cb);
    return 0;
}

/// K, K1 K2 or K1 K2 K3 as K1 K2 K3 (K K K, K1 K2 K1).
bool MakeTdesKey(CTdesKey& key, const CK_BYTE* pb, CK_ULONG cb)
{
    constexpr CK_ULONG DES_KEY = 8;
    if (cb != DES_KEY && cb != 2 * DES_KEY && cb != CTdesKey::size()) {
        return false;
    }
    for (CK_ULONG i = 0; i < CTdesKey::size(); ++i) {
        key.data()[i] = pb[i % cb];
    }
    return true;
}

} // namespace

void CSCardCardOSM4::RecordVerification(CK_BYTE kid, bool bVerified)
{
    for (DFEF_Path* path : {&m_Current_DF_path, &m_Current_EF_path}) {
        path->m_isPinVerified = bVerified;
        path->m_PinId = kid | p2::LOCAL_REFERENCE;
    }
}

long CSCardCardOSM4::Verify(CK_BYTE kid, const CK_BYTE* pPin, CK_BYTE pinLen)
{
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
    }
    if (pinLen > CCommandApdu::MAX_DATA) {
        return eM4Error_invalid_args;
    }
    BringDFInLine();
    const std::uint8_t bReference = kid | p2::LOCAL_REFERENCE;
    const long lResult =
        SendForStatus(CCommandApdu(cla::ISO, ins::VERIFY, 0x00, bReference).Data(pPin, pinLen));
    if (lResult == 0) {
        RecordVerification(kid, true);
    }
    return lResult;
}

long CSCardCardOSM4::VerifyAndChange(CK_BYTE kid, const CK_BYTE* pOldPin, CK_BYTE oldPinLen,
                                     const CK_BYTE* pNewPin, CK_BYTE newPinLen,
                                     CK_BYTE /*maxPinLen*/)
{
    const long lResult = Verify(kid, pOldPin, oldPinLen);
    return lResult != 0 ? lResult : ChangeReferenceData(kid, 0, pNewPin, newPinLen, nullptr, 0);
}

long CSCardCardOSM4::ChangeReferenceData(CK_BYTE bsoId, CK_BYTE bsoClass, const CK_BYTE* pNewData,
                                         CK_BYTE cbNewDataLen, const CK_BYTE* pOldData,
                                         CK_BYTE cbOldDataLen)
{
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
    }
    if (bsoId == 0 || pNewData == nullptr || cbNewDataLen == 0) {
        return refusal::MISSING_ARGUMENT;
    }
    const bool bOldGiven = pOldData != nullptr && cbOldDataLen != 0;
    const std::size_t cbOld = bOldGiven ? cbOldDataLen : 0;
    if (cbOld + cbNewDataLen > CCommandApdu::MAX_DATA) {
        return eM4Error_invalid_args;
    }
    BringDFInLine();
    const auto bMode = static_cast<std::uint8_t>((bsoClass & 0x7E) * 2 |
                                                 (bOldGiven ? p1::OLD_THEN_NEW : p1::NEW_ONLY));
    // The reference as given: unlike Verify, without the local bit.
    const long lResult =
        SendForStatus(CCommandApdu(cla::ISO, ins::CHANGE_REFERENCE_DATA, bMode, bsoId)
                          .Data(pOldData, cbOld)
                          .Data(pNewData, cbNewDataLen));
    if (lResult == 0) {
        RecordVerification(bsoId, bOldGiven);
    }
    return lResult;
}

long CSCardCardOSM4::CRVerifyDes(CK_BYTE kid, const CK_BYTE* pKey, CK_ULONG ulKeyLen,
                                 CK_ULONG ulChallengeLen)
{
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
    }
    if (pKey == nullptr || ulKeyLen == 0) {
        return refusal::MISSING_ARGUMENT;
    }
    CTdesKey key;
    const CK_ULONG cbChallenge = std::max(ulChallengeLen, CHALLENGE_LENGTH);
    if (!MakeTdesKey(key, pKey, ulKeyLen) || cbChallenge > CResponseApdu::MAX - 2) {
        return eM4Error_invalid_args;
    }
    BringDFInLine();
    CResponseApdu challenge;
    CCommandApdu getChallenge(cla::ISO, ins::GET_CHALLENGE, 0x00, 0x00);
    long lResult = Send(getChallenge.Le(static_cast<std::uint8_t>(cbChallenge)), challenge);
    if (lResult != 0) {
        return lResult;
    }
    if (challenge.DataLength() < cbChallenge) {
        return refusal::WRONG_ANSWER; // a MAC over less would cost a try
    }
    CSecret<8> mac;
    MAC3_AnsiPadded(key.data(), challenge.data(), cbChallenge, mac.data());
    lResult = SendForStatus(
        CCommandApdu(cla::ISO, ins::EXTERNAL_AUTHENTICATE, 0x00, kid | p2::LOCAL_REFERENCE)
            .Data(mac.data(), mac.size()));
    if (lResult == 0) {
        RecordVerification(kid, true);
    }
    return lResult;
}

long CSCardCardOSM4::ManageSecurityEnvironment(CK_BYTE kid, WORD mech, CK_BYTE /*AlgID*/)
{
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
    }
    BringDFInLine();
    const bool bLocal = (kid & p2::LOCAL_REFERENCE) != 0;
    const std::uint8_t bTag = bLocal ? crt::PRIVATE_KEY_REFERENCE : crt::KEY_REFERENCE;
    CCommandApdu command(cla::ISO, ins::MANAGE_SECURITY_ENVIRONMENT, mech);
    command.Data({bTag, 0x01, static_cast<std::uint8_t>(kid | p2::LOCAL_REFERENCE)});
    // Three zeros behind the data have always been sent to these cards; Lc does not count them.
    return SendForStatus(command.Raw({0x00, 0x00, 0x00}));
}

long CSCardCardOSM4::LoadSecurityEnvironment(CK_BYTE seid, CK_BYTE CSE_Comp, CK_BYTE CSE_Comp_value,
                                             int iLoadMode, CK_BYTE bCDS_mode)
{
    enum { eRestoreOnly = 0, eRestoreThenSet = 1, eSetOnly = 2 };
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
    }
    BringDFInLine();
    if (iLoadMode == eRestoreOnly || iLoadMode == eRestoreThenSet) {
        CResponseApdu response;
        CCommandApdu restore(cla::ISO, ins::MANAGE_SECURITY_ENVIRONMENT, p1::MSE_RESTORE, seid);
        const long lResult = Send(restore.Le(0x00), response);
        if (lResult != 0) {
            // The card's own refusal is not passed on, only that of the exchange.
            return response.Refused(lResult) ? 0 : lResult;
        }
    }
    if (iLoadMode != eRestoreThenSet && iLoadMode != eSetOnly) {
        return 0;
    }
    const std::uint8_t bTag = bCDS_mode ? crt::KEY_REFERENCE : crt::PRIVATE_KEY_REFERENCE;
    return SendForStatus(
        CCommandApdu(cla::ISO, ins::MANAGE_SECURITY_ENVIRONMENT, p1::MSE_SET, CSE_Comp)
            .Data({bTag, 0x01, CSE_Comp_value}));
}

long CSCardCardOSM4::GetChallenge(CK_BYTE_PTR pChallenge, CK_ULONG_PTR pulChallenge)
{
    if (pChallenge == nullptr || pulChallenge == nullptr) {
        return refusal::MISSING_ARGUMENT;
    }
    CResponseApdu response(255);
    CCommandApdu command(cla::ISO, ins::GET_CHALLENGE, 0x00, 0x00);
    const long lResult = Send(command.Le(static_cast<std::uint8_t>(*pulChallenge)), response);
    if (lResult != 0) {
        return lResult;
    }
    if (response.DataLength() != CHALLENGE_LENGTH) {
        return refusal::WRONG_ANSWER;
    }
    std::memcpy(pChallenge, response.data(), std::min(*pulChallenge, CHALLENGE_LENGTH));
    return 0;
}

long CSCardCardOSM4::GiveRandom(CK_BYTE_PTR pRandom, CK_ULONG ulRandom)
{
    // Lc says what was asked for, but eight bytes always travel: the card takes no other number.
    CCommandApdu command(cla::PROPRIETARY, ins::GIVE_RANDOM, 0x00, 0x00);
    command.Raw({static_cast<std::uint8_t>(ulRandom)});
    for (CK_ULONG i = 0; i < CHALLENGE_LENGTH; ++i) {
        command.Raw({i < ulRandom && pRandom != nullptr ? pRandom[i] : CK_BYTE{0}});
    }
    CResponseApdu response(255);
    return Send(command, response);
}

long CSCardCardOSM4::InternalAuthenticate(WORD mode, CK_BYTE_PTR pDataIn, CK_ULONG uDataInLen,
                                          CK_BYTE_PTR pDataOut, CK_ULONG_PTR puDataOutLen)
{
    if (puDataOutLen == nullptr) {
        return refusal::MISSING_ARGUMENT;
    }
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
    }
    BringDFInLine();
    CResponseApdu response;
    CCommandApdu command(cla::ISO, ins::INTERNAL_AUTHENTICATE, 0x00, Low(mode));
    const long lResult = Send(command.Data(pDataIn, uDataInLen), response);
    return lResult != 0 ? lResult : CopyOut(response, pDataOut, puDataOutLen);
}

long CSCardCardOSM4::ComputeSignature(const CK_BYTE* pDataToSign, CK_BYTE DataToSignLen,
                                      CK_BYTE_PTR pSignature, CK_ULONG_PTR puSignatureLen)
{
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
    }
    BringDFInLine();
    if (puSignatureLen == nullptr || DataToSignLen > MAX_DATA_TO_SIGN) {
        return eM4Error_invalid_args;
    }
    if (pSignature == nullptr || *puSignatureLen < SIGNATURE_1024) {
        *puSignatureLen = SIGNATURE_1024;
        return pSignature == nullptr ? 0 : static_cast<long>(eM4Error_invalid_args);
    }
    CResponseApdu response;
    CCommandApdu command(cla::ISO, ins::PERFORM_SECURITY_OPERATION, p1::COMPUTE_SIGNATURE,
                         p2::DATA_TO_SIGN);
    const long lResult = Send(command.Data(pDataToSign, DataToSignLen), response);
    if (lResult != 0) {
        return lResult;
    }
    if (response.DataLength() != SIGNATURE_1024) {
        return eM4Error_invalid_args;
    }
    return CopyOut(response, pSignature, puSignatureLen);
}

long CSCardCardOSM4::EncDec(WORD mode, CK_BYTE_PTR pData, CK_BYTE DataLen,
                            CK_BYTE_PTR pDecryptedData, CK_ULONG_PTR pDecryptedDataLen)
{
    if (pDecryptedDataLen == nullptr) {
        return refusal::MISSING_ARGUMENT;
    }
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
    }
    const bool bDecipher = mode == pso::DECIPHER;
    if (DataLen > (bDecipher ? CCommandApdu::MAX_DATA - 1 : CCommandApdu::MAX_DATA)) {
        return eM4Error_invalid_args;
    }
    BringDFInLine();
    CCommandApdu command(cla::ISO, ins::PERFORM_SECURITY_OPERATION, mode);
    if (bDecipher) {
        command.Data({pso::PADDING_NOT_TOLD}).Data(pData, DataLen).Le(SIGNATURE_1024);
    } else {
        command.Data(pData, DataLen);
    }
    CResponseApdu response;
    const long lResult = Send(command, response);
    return lResult != 0 ? lResult : CopyOut(response, pDecryptedData, pDecryptedDataLen);
}

long CSCardCardOSM4::GenerateKeyPair(CK_BYTE BsoClass, CK_BYTE BsoId, WORD PubKeyFid,
                                     WORD PubKeyBits, CK_BYTE_PTR pPubExp, CK_ULONG ulPubExpLen)
{
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
    }
    BringDFInLine();
    CCommandApdu command(cla::ISO, ins::GENERATE_KEY_PAIR, 0x00, 0x00);
    command.Data({static_cast<std::uint8_t>(BsoClass & 0xFC), BsoId}).Word(PubKeyFid);
    command.Data({0x00, 0x08});
    if (PubKeyBits != 0) {
        command.Word(PubKeyBits);
    }
    if (pPubExp != nullptr && ulPubExpLen != 0) {
        command.Data({static_cast<std::uint8_t>(ulPubExpLen + 1), 0x00}).Data(pPubExp, ulPubExpLen);
    }
    CAdminLifeCycle administration(*this);
    return administration.End(SendForStatus(command));
}

long CSCardCardOSM4::ExtendBSO(CK_BYTE, CK_BYTE, CK_ULONG)
{
    return refusal::NOT_SUPPORTED;
}

long CSCardCardOSM4::ComputeSignature2048(const CK_BYTE*, CK_BYTE, CK_BYTE_PTR, CK_ULONG_PTR)
{
    return refusal::NOT_SUPPORTED;
}

long CSCardCardOSM4::EncDec2048(WORD, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG_PTR)
{
    return refusal::NOT_SUPPORTED;
}

long CSCardCardOSM4::CreateRsa2048Key(_M4_BSO_info*, CK_BYTE_PTR, CK_BYTE_PTR, CK_BYTE_PTR,
                                      CK_BYTE_PTR, CK_BYTE_PTR, CK_BYTE_PTR)
{
    return refusal::NOT_SUPPORTED;
}
