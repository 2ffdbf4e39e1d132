// SPDX-License-Identifier: Apache-2.0
//
// Zentaris34: administration of files and objects, and 2048-bit keys, whose values pass through
// scratch files because they do not fit a short command or answer.

#include "cardlib/apdu.h"
#include "cardlib/pathtracking.h"
#include "cardlib/scardzentaris34.h"
#include "cardlib/secret.h"

namespace {

constexpr WORD kSignatureFile = 0x811F;
constexpr WORD kScratchIn = 0xFF02;
constexpr WORD kScratchOut = 0xFF01;
constexpr CK_ULONG kBlock2048 = 256;
constexpr CK_ULONG kCrtNumber = 128;
constexpr CK_ULONG kCrtExponent = 8;
constexpr CK_BYTE kSignatureLimit = 246;
constexpr CK_BYTE kNever = 0xFF;
constexpr CK_BYTE kAlways = 0x00;
constexpr std::uint8_t kFormDF = 0x01; // P1 of ACTIVATE FILE
constexpr std::uint8_t kFormEF = 0x02;

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

/// Deletes a scratch file at the end of a scope, whatever happened in it.
class CScratchFile {
public:
    CScratchFile(CSCardZentaris34& card, WORD fid) : m_card(card), m_fid(fid) {}
    ~CScratchFile() { m_card.DeleteFile(m_fid, 0); }
    CScratchFile(const CScratchFile&) = delete;
    CScratchFile& operator=(const CScratchFile&) = delete;

private:
    CSCardZentaris34& m_card;
    WORD m_fid;
};

/// A transparent scratch file that everybody may use while it lives.
_M4_FileInfo_common ScratchFileInfo(WORD fid, WORD size)
{
    _M4_FileInfo_common info;
    info.Reset();
    info.SetDefaultAC(kAlways);
    info.size = size;
    info.fid = fid;
    return info;
}

/// Adjusts a new object to what this card takes.
void AdjustForCreation(_ZT34_BSO_info& info)
{
    constexpr CK_BYTE kKey = 0x20;
    if ((info.ObjectClass & kKey) != 0) {
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
    const CExtraPadding padding(*pFileInfo);
    return CSCardCardOSM4::CreateFile(pFileInfo);
}

long CSCardZentaris34::PutDataFCI(_M4_FileInfo_common* pInfo)
{
    const CExtraPadding padding(*pInfo);
    return CSCardCardOSM4::PutDataFCI(pInfo);
}

long CSCardZentaris34::ActivateFile(WORD fid, CK_BBOOL bActivate, CK_BBOOL bIsDF)
{
    if (!isValid()) {
        return session::INVALID;
    }
    BringDFInLine();
    const std::uint8_t bIns = bActivate ? ins::ACTIVATE : ins::DEACTIVATE;
    return SendForStatus(
        CCommandApdu(cla::ISO, bIns, bIsDF ? kFormDF : kFormEF, p2::SELECT_NO_ANSWER).Word(fid));
}

long CSCardZentaris34::GenerateKeyPair(CK_BYTE BsoClass, CK_BYTE BsoId, WORD PubKeyFid,
                                       WORD PubKeyBits, CK_BYTE_PTR pPubExp, CK_ULONG ulPubExpLen)
{
    constexpr CK_BYTE kF4[] = {0x01, 0x00, 0x01};
    if (!isValid()) {
        return session::INVALID;
    }
    BringDFInLine();
    const long lResult = SelectEx2(PubKeyFid, nullptr, eFidEF, 1);
    if (lResult != 0) {
        return lResult;
    }
    const bool bF4 = pPubExp != nullptr && ulPubExpLen == sizeof kF4 &&
                     std::memcmp(pPubExp, kF4, sizeof kF4) == 0;
    return SendForStatus(CCommandApdu(cla::ISO, ins::GENERATE_KEY_PAIR, 0x00, 0x00)
                             .Data({static_cast<std::uint8_t>(BsoClass & 0xFC), BsoId})
                             .Word(PubKeyFid)
                             .Word(0x0000)
                             .Word(bF4 ? WORD{0} : PubKeyBits));
}

long CSCardZentaris34::CreateBSO(_M4_BSO_info* pBsoInfo, CK_BBOOL bCreateForKeyGeneration)
{
    _ZT34_BSO_info info(*pBsoInfo, kNever, kNever);
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
    _ZT34_BSO_info info(*pBsoInfo, kNever, kNever);
    return CSCardCardOSM4::AdminBSO(&info, bUpdateSM);
}

long CSCardZentaris34::ExtendBSO(CK_BYTE bsoClass, CK_BYTE bsoId, CK_ULONG /*flags*/)
{
    if (!isValid()) {
        return session::INVALID;
    }
    BringDFInLine();
    return SendForStatus(
        CCommandApdu(cla::ZT_OBJECT, ins::EXTEND_OBJECT, bsoClass, bsoId).Le(0x00));
}

long CSCardZentaris34::ComputeSignature2048(const CK_BYTE* pDataToSign, CK_BYTE DataToSignLen,
                                            CK_BYTE_PTR pSignature, CK_ULONG_PTR puSignatureLen)
{
    if (puSignatureLen == nullptr || DataToSignLen >= kSignatureLimit ||
        (pDataToSign == nullptr && DataToSignLen != 0)) {
        return eM4Error_invalid_args;
    }
    if (!isValid()) {
        return session::INVALID;
    }
    const long lResult = SignThroughFile(pDataToSign, DataToSignLen, pSignature, puSignatureLen);
    m_Cache.Remove(EfIn(m_Current_DF_path, kSignatureFile)); // the card has written into it
    return lResult;
}

long CSCardZentaris34::SignThroughFile(const CK_BYTE* pDataToSign, CK_BYTE DataToSignLen,
                                       CK_BYTE_PTR pSignature, CK_ULONG_PTR puSignatureLen)
{
    if (pSignature == nullptr || *puSignatureLen < kBlock2048) {
        *puSignatureLen = kBlock2048;
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

    long lResult = SelectEx2(kSignatureFile, nullptr, eFidEF, 1);
    if (lResult == 0) {
        lResult = UpdateBinary(block.data(), block.size(), 0);
    }
    if (lResult == 0) {
        lResult = SendForStatus(CCommandApdu(cla::ISO, ins::PERFORM_SECURITY_OPERATION,
                                             p1::COMPUTE_SIGNATURE, p2::DATA_TO_SIGN)
                                    .Word(kSignatureFile));
    }
    if (lResult != 0) {
        return lResult;
    }
    lResult = SelectEx2(kSignatureFile, nullptr, eFidEF, 1);
    if (lResult == 0) {
        lResult = ReadBinary(0, kBlock2048, pSignature);
    }
    if (lResult == 0) {
        *puSignatureLen = kBlock2048;
    }
    return lResult;
}

long CSCardZentaris34::EncDec2048(WORD mode, CK_BYTE_PTR pData, CK_ULONG DataLen,
                                  CK_BYTE_PTR pDecryptedData, CK_ULONG_PTR pDecryptedDataLen)
{
    if (!isValid()) {
        return session::INVALID;
    }
    BringDFInLine();
    if (pDecryptedData == nullptr) {
        *pDecryptedDataLen = kBlock2048;
        return 0;
    }
    if (DataLen != kBlock2048 || *pDecryptedDataLen < kBlock2048 || mode != PSO_DECIPHER) {
        return eM4Error_invalid_args;
    }
    const CScratchFile in(*this, kScratchIn);
    const CScratchFile out(*this, kScratchOut);
    long lResult = 0;
    for (const WORD fid : {kScratchOut, kScratchIn}) {
        _M4_FileInfo_common info = ScratchFileInfo(fid, kBlock2048);
        DeleteFile(fid, 0);
        lResult = CreateFile(&info);
        if (lResult != 0) {
            return lResult;
        }
    }
    lResult = UpdateBinary(pData, DataLen, 0);
    if (lResult == 0) {
        lResult = SelectEx2(kScratchOut, nullptr, eFidEF, 1);
    }
    if (lResult == 0) {
        lResult = SendForStatus(CCommandApdu(cla::ISO, ins::PERFORM_SECURITY_OPERATION,
                                             static_cast<std::uint8_t>(mode >> 8),
                                             static_cast<std::uint8_t>(mode))
                                    .Word(kScratchIn));
    }
    if (lResult != 0) {
        return lResult;
    }
    m_Cache.Remove(EfIn(m_Current_DF_path, kScratchIn)); // the card has written into it
    *pDecryptedDataLen = kBlock2048;
    lResult = SelectEx2(kScratchIn, nullptr, eFidEF, 1);
    return lResult != 0 ? lResult : ReadBinary(0, kBlock2048, pDecryptedData);
}

long CSCardZentaris34::CreateRsa2048Key(_M4_BSO_info* pBsoInfo, CK_BYTE_PTR pPrime1,
                                        CK_BYTE_PTR pPrime2, CK_BYTE_PTR pExponent1,
                                        CK_BYTE_PTR pExponent2, CK_BYTE_PTR pCoefficient,
                                        CK_BYTE_PTR pPubExponent)
{
    if (!isValid()) {
        return session::INVALID;
    }
    BringDFInLine();
    _ZT34_BSO_info info(*pBsoInfo, pBsoInfo->AC_CHANGE, kNever);
    // The coefficient comes before the exponents: the card's order.
    CSecret<5 * kCrtNumber + kCrtExponent> key;
    CK_BYTE* pb = key.data();
    for (const CK_BYTE* pbNumber : {pPrime1, pPrime2, pCoefficient, pExponent1, pExponent2}) {
        pb = std::copy_n(pbNumber, kCrtNumber, pb);
    }
    std::copy_n(pPubExponent, kCrtExponent, pb);

    const CScratchFile scratch(*this, kScratchIn);
    DeleteFile(kScratchIn, 0);
    long lResult = CSCardCardOSM4::CreateBSO(&info, 1);
    if (lResult != 0) {
        return lResult;
    }
    lResult = ExtendBSO(info.ObjectClass, info.ObjectId, 0);
    if (lResult != 0 && lResult != sw::NO_SUCH_OBJECT_FUNCTION) {
        return lResult;
    }
    _M4_FileInfo_common file = ScratchFileInfo(kScratchIn, static_cast<WORD>(key.size()));
    lResult = CreateFile(&file);
    if (lResult == 0) {
        lResult = UpdateBinary(key.data(), key.size(), 0);
    }
    if (lResult != 0) {
        return lResult;
    }
    return SendForStatus(
        CCommandApdu(cla::ZT_OBJECT, ins::LOAD_KEY_FROM_FILE, info.ObjectClass, info.ObjectId)
            .Le(0x00));
}
