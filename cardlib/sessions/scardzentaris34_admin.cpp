// SPDX-License-Identifier: Apache-2.0
//
// Zentaris34: administration of files and objects, and 2048-bit keys, whose values pass through
// scratch files because they do not fit a short command or answer.

#include "cardlib/scardzentaris34.h"

#include "cardlib/cache/path.h"
#include "cardlib/sessions/apdu.h"
#include "cardlib/sessions/boundcard.h"
#include "cardlib/sessions/scratchfile.h"
#include "cardlib/support/secret.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>

namespace {

constexpr WORD SIGNATURE_FILE = 0x811F;
constexpr WORD SCRATCH_IN = 0xFF02;
constexpr WORD SCRATCH_OUT = 0xFF01;
constexpr CK_ULONG BLOCK_2048 = 256;
constexpr CK_ULONG CRT_NUMBER = 128;
constexpr CK_ULONG CRT_EXPONENT = 8;
constexpr CK_BYTE SIGNATURE_LIMIT = 246;
constexpr CK_BYTE NEVER = 0xFF;
constexpr std::uint8_t FORM_DF = 0x01; // P1 of ACTIVATE FILE
constexpr std::uint8_t FORM_EF = 0x02;

/// Counts one more FF in the access conditions, as this card expects, for a scope.
class CExtraPadding {
public:
    explicit CExtraPadding(_M4_FileInfo_common& info)
        : m_info(info), m_bBefore(info.m_bAdditionalACPaddingFF)
    {
        m_info.SetAdditionalACPaddingFF(static_cast<CK_BYTE>(m_bBefore + 1));
    }
    ~CExtraPadding() { m_info.SetAdditionalACPaddingFF(m_bBefore); }
    CExtraPadding(const CExtraPadding&) = delete;
    CExtraPadding& operator=(const CExtraPadding&) = delete;

private:
    _M4_FileInfo_common& m_info;
    CK_BYTE m_bBefore;
};

/// Adjusts a new object to what this card takes.
void AdjustForCreation(_ZT34_BSO_info& info)
{
    constexpr CK_BYTE KEY_BYTES = 0x20;
    if ((info.ObjectClass & KEY_BYTES) != 0) {
        info.ErrCnt &= 0x0F;
        info.MinLen = 0;
        info.Options &= static_cast<CK_BYTE>(~0x40);
        info.Flags &= static_cast<CK_BYTE>(~0x20);
    } else if ((info.ObjectClass & BSO_CLASS_uuu) == 0) {
        info.ErrCnt &= static_cast<CK_BYTE>(~0x40);
    }
}

} // namespace

long CSCardZentaris34::CreateFile(_M4_FileInfo_common* pFileInfo)
{
    if (pFileInfo == nullptr) {
        return refusal::MISSING_ARGUMENT;
    }
    const CExtraPadding padding(*pFileInfo);
    return CSCardCardOSM4::CreateFile(pFileInfo);
}

long CSCardZentaris34::PutDataFCI(_M4_FileInfo_common* pInfo)
{
    if (pInfo == nullptr) {
        return refusal::MISSING_ARGUMENT;
    }
    const CExtraPadding padding(*pInfo);
    return CSCardCardOSM4::PutDataFCI(pInfo);
}

long CSCardZentaris34::ActivateFile(WORD fid, CK_BBOOL bActivate, CK_BBOOL bIsDF)
{
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
    }
    BringDFInLine();
    const std::uint8_t bIns = bActivate ? ins::ACTIVATE : ins::DEACTIVATE;
    return SendForStatus(
        CCommandApdu(cla::ISO, bIns, bIsDF ? FORM_DF : FORM_EF, p2::SELECT_NO_ANSWER).Word(fid));
}

long CSCardZentaris34::GenerateKeyPair(CK_BYTE BsoClass, CK_BYTE BsoId, WORD PubKeyFid,
                                       WORD PubKeyBits, CK_BYTE_PTR pPubExp, CK_ULONG ulPubExpLen)
{
    constexpr CK_BYTE F4[] = {0x01, 0x00, 0x01};
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
    }
    BringDFInLine();
    const long lResult = SelectEx2(PubKeyFid, nullptr, eFidEF, 1);
    if (lResult != 0) {
        return lResult;
    }
    const bool bF4 =
        pPubExp != nullptr && ulPubExpLen == sizeof F4 && std::memcmp(pPubExp, F4, sizeof F4) == 0;
    return SendForStatus(CCommandApdu(cla::ISO, ins::GENERATE_KEY_PAIR, 0x00, 0x00)
                             .Data({static_cast<std::uint8_t>(BsoClass & 0xFC), BsoId})
                             .Word(PubKeyFid)
                             .Word(0x0000)
                             .Word(bF4 ? WORD{0} : PubKeyBits));
}

long CSCardZentaris34::CreateBSO(_M4_BSO_info* pBsoInfo, CK_BBOOL bCreateForKeyGeneration)
{
    if (pBsoInfo == nullptr) {
        return refusal::MISSING_ARGUMENT;
    }
    _ZT34_BSO_info info(*pBsoInfo, NEVER, NEVER);
    AdjustForCreation(info);
    const long lResult = CSCardCardOSM4::CreateBSO(&info, bCreateForKeyGeneration);
    if (lResult != 0 || bCreateForKeyGeneration) {
        return lResult;
    }
    return ChangeReferenceData(info.ObjectId | p2::LOCAL_REFERENCE, info.ObjectClass,
                               info.pObjectData, static_cast<CK_BYTE>(info.ObjectDataLen), nullptr,
                               0);
}

long CSCardZentaris34::AdminBSO(_M4_BSO_info* pBsoInfo, CK_BBOOL bUpdateSM)
{
    if (pBsoInfo == nullptr) {
        return refusal::MISSING_ARGUMENT;
    }
    _ZT34_BSO_info info(*pBsoInfo, NEVER, NEVER);
    return CSCardCardOSM4::AdminBSO(&info, bUpdateSM);
}

long CSCardZentaris34::ExtendBSO(CK_BYTE bsoClass, CK_BYTE bsoId, CK_ULONG /*flags*/)
{
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
    }
    BringDFInLine();
    return SendForStatus(
        CCommandApdu(cla::ZT_OBJECT, ins::EXTEND_OBJECT, bsoClass, bsoId).Le(0x00));
}

long CSCardZentaris34::ComputeSignature2048(const CK_BYTE* pDataToSign, CK_BYTE DataToSignLen,
                                            CK_BYTE_PTR pSignature, CK_ULONG_PTR puSignatureLen)
{
    if (puSignatureLen == nullptr || DataToSignLen >= SIGNATURE_LIMIT ||
        (pDataToSign == nullptr && DataToSignLen != 0)) {
        return eM4Error_invalid_args;
    }
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
    }
    const long lResult = SignThroughFile(pDataToSign, DataToSignLen, pSignature, puSignatureLen);
    m_Cache.Remove(EfIn(m_Current_DF_path, SIGNATURE_FILE)); // the card has written into it
    return lResult;
}

long CSCardZentaris34::SignThroughFile(const CK_BYTE* pDataToSign, CK_BYTE DataToSignLen,
                                       CK_BYTE_PTR pSignature, CK_ULONG_PTR puSignatureLen)
{
    if (pSignature == nullptr || *puSignatureLen < BLOCK_2048) {
        *puSignatureLen = BLOCK_2048;
        return pSignature == nullptr ? 0 : static_cast<long>(eM4Error_invalid_args);
    }
    BringDFInLine();
    CSecret<255> block;
    CK_BYTE* pb = block.data();
    *pb++ = p2::DATA_TO_SIGN;
    if (DataToSignLen >= 0x80) {
        *pb++ = 0x82; // BER: two bytes of length follow
        *pb++ = 0x00;
    }
    *pb++ = DataToSignLen;
    std::copy_n(pDataToSign, DataToSignLen, pb);

    long lResult = SelectEx2(SIGNATURE_FILE, nullptr, eFidEF, 1);
    if (lResult == 0) {
        lResult = UpdateBinary(block.data(), block.size(), 0);
    }
    if (lResult == 0) {
        lResult = SendForStatus(CCommandApdu(cla::ISO, ins::PERFORM_SECURITY_OPERATION,
                                             p1::COMPUTE_SIGNATURE, p2::DATA_TO_SIGN)
                                    .Word(SIGNATURE_FILE));
    }
    if (lResult != 0) {
        return lResult;
    }
    m_Cache.Remove(EfIn(m_Current_DF_path, SIGNATURE_FILE)); // it is the card's now, not the block
    lResult = SelectEx2(SIGNATURE_FILE, nullptr, eFidEF, 1);
    if (lResult == 0) {
        lResult = ReadBinary(0, BLOCK_2048, pSignature);
    }
    if (lResult == 0) {
        *puSignatureLen = BLOCK_2048;
    }
    return lResult;
}

long CSCardZentaris34::EncDec2048(WORD mode, CK_BYTE_PTR pData, CK_ULONG DataLen,
                                  CK_BYTE_PTR pDecryptedData, CK_ULONG_PTR pDecryptedDataLen)
{
    if (pDecryptedDataLen == nullptr) {
        return refusal::MISSING_ARGUMENT;
    }
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
    }
    if (pData == nullptr && pDecryptedData != nullptr) {
        return eM4Error_invalid_args;
    }
    BringDFInLine();
    if (pDecryptedData == nullptr) {
        *pDecryptedDataLen = BLOCK_2048;
        return 0;
    }
    if (DataLen != BLOCK_2048 || *pDecryptedDataLen < BLOCK_2048 || mode != pso::DECIPHER) {
        return eM4Error_invalid_args;
    }
    CScratchFile in(*this, SCRATCH_IN, BLOCK_2048);
    CScratchFile out(*this, SCRATCH_OUT, BLOCK_2048);
    long lResult = 0;
    for (CScratchFile* const pFile : {&out, &in}) {
        pFile->Delete();
        lResult = pFile->Create();
        if (lResult != 0) {
            return lResult;
        }
    }
    lResult = UpdateBinary(pData, DataLen, 0);
    if (lResult == 0) {
        lResult = SelectEx2(SCRATCH_OUT, nullptr, eFidEF, 1);
    }
    if (lResult == 0) {
        lResult = SendForStatus(
            CCommandApdu(cla::ISO, ins::PERFORM_SECURITY_OPERATION, mode).Word(SCRATCH_IN));
    }
    if (lResult != 0) {
        return lResult;
    }
    in.Forget();
    *pDecryptedDataLen = BLOCK_2048;
    lResult = SelectEx2(SCRATCH_IN, nullptr, eFidEF, 1);
    return lResult != 0 ? lResult : ReadBinary(0, BLOCK_2048, pDecryptedData);
}

long CSCardZentaris34::CreateRsa2048Key(_M4_BSO_info* pBsoInfo, CK_BYTE_PTR pPrime1,
                                        CK_BYTE_PTR pPrime2, CK_BYTE_PTR pExponent1,
                                        CK_BYTE_PTR pExponent2, CK_BYTE_PTR pCoefficient,
                                        CK_BYTE_PTR pPubExponent)
{
    // The coefficient comes before the exponents: the card's order.
    const CK_BYTE* const numbers[] = {pPrime1, pPrime2, pCoefficient, pExponent1, pExponent2};
    if (pPubExponent == nullptr ||
        std::find(std::begin(numbers), std::end(numbers), nullptr) != std::end(numbers)) {
        return eM4Error_invalid_args;
    }
    if (pBsoInfo == nullptr) {
        return refusal::MISSING_ARGUMENT;
    }
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
    }
    BringDFInLine();
    _ZT34_BSO_info info(*pBsoInfo, pBsoInfo->AC_CHANGE, NEVER);
    CSecret<5 * CRT_NUMBER + CRT_EXPONENT> key;
    CK_BYTE* pb = key.data();
    for (const CK_BYTE* pbNumber : numbers) {
        pb = std::copy_n(pbNumber, CRT_NUMBER, pb);
    }
    std::copy_n(pPubExponent, CRT_EXPONENT, pb);

    CScratchFile scratch(*this, SCRATCH_IN, key.size());
    scratch.Delete();
    long lResult = CSCardCardOSM4::CreateBSO(&info, 1);
    if (lResult == 0) {
        lResult = ExtendBSO(info.ObjectClass, info.ObjectId, 0);
        if (lResult == 0 || lResult == sw::NO_SUCH_OBJECT_FUNCTION) {
            lResult = scratch.Create();
        }
    }
    if (lResult == 0) {
        lResult = UpdateBinary(key.data(), key.size(), 0);
    }
    if (lResult == 0) {
        lResult = SendForStatus(
            CCommandApdu(cla::ZT_OBJECT, ins::LOAD_KEY_FROM_FILE, info.ObjectClass, info.ObjectId)
                .Le(0x00));
    }
    return scratch.EndOfKey(lResult);
}
