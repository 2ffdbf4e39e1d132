// SPDX-License-Identifier: Apache-2.0
//
// CardOS M4: administration of files and security objects.

#include "cardlib/apdu.h"
#include "cardlib/lifecycle.h"
#include "cardlib/pathtracking.h"
#include "cardlib/scardcardosm4.h"
#include "cardlib/secret.h"
#include "cardlib/utils.h"

namespace {

constexpr CK_BYTE kOperational = 0x10;
constexpr CK_BYTE kAdministration = 0x20;
constexpr CK_ULONG kMaxFileBody = 251;
constexpr CK_ULONG kMaxObjectBody = 1019;
constexpr CK_ULONG kMaxEntries = 1024;
constexpr int kMaxPages = 256;

int FidTypeOf(bool bIsDF)
{
    return bIsDF ? eFidDF : eFidEF;
}

/// The files found by a listing.
struct SListing {
    /// Takes the entries of one answer. \return 0, or -1 when it is no chain of templates.
    long TakePage(CK_BYTE* pb, CK_ULONG cb);
    void Take(CK_BYTE* pbTemplate, CK_ULONG cbTemplate);
    bool IsFull() const { return ulCount == kMaxEntries; }

    std::unique_ptr<_DirFileInfo[]> files;
    CK_ULONG ulCount = 0;
    CK_BYTE bNext = 0; ///< where the next page begins; 0 after the last
};

void SListing::Take(CK_BYTE* pbTemplate, CK_ULONG cbTemplate)
{
    CK_BYTE* pbType = nullptr;
    CK_BYTE* pbFid = nullptr;
    CK_BYTE* pbNext = nullptr;
    CK_ULONG cbType = 0;
    CK_ULONG cbFid = 0;
    CK_ULONG cbNext = 0;
    if (TLV_Get(tag::DESCRIPTOR, pbTemplate, cbTemplate, &pbType, &cbType) && cbType >= 1 &&
        TLV_Get(tag::ACCESS, pbTemplate, cbTemplate, &pbFid, &cbFid) && cbFid >= 2) {
        files[ulCount++] = {static_cast<WORD>(pbFid[0] << 8 | pbFid[1]), pbType[0]};
    }
    const bool bMore = TLV_Get(tag::NEXT, pbTemplate, cbTemplate, &pbNext, &cbNext) && cbNext >= 1;
    bNext = bMore ? pbNext[0] : CK_BYTE{0};
}

long SListing::TakePage(CK_BYTE* pb, CK_ULONG cb)
{
    constexpr CK_ULONG kObjectHeader = 2;
    bNext = 0;
    while (cb != 0 && !IsFull()) {
        CK_BYTE* pbTemplate = nullptr;
        CK_ULONG cbTemplate = 0;
        if (pb[0] != tag::FCI || !TLV_Get(tag::FCI, pb, cb, &pbTemplate, &cbTemplate)) {
            return session::WRONG_ANSWER;
        }
        Take(pbTemplate, cbTemplate);
        pb = pbTemplate + cbTemplate;
        cb -= cbTemplate + kObjectHeader;
    }
    return 0;
}

} // namespace

long CSCardCardOSM4::ReadLifeCycle(CK_BYTE& bLifeCycle)
{
    CResponseApdu response(255);
    CCommandApdu command(cla::ISO, ins::GET_DATA, p1::CARD_DATA, p2::LIFE_CYCLE);
    const long lResult = Send(command.Le(0x00), response);
    bLifeCycle = response[0];
    return lResult;
}

long CSCardCardOSM4::ToggleLifeCycle()
{
    return SendForStatus(CCommandApdu(cla::PROPRIETARY, ins::PHASE_CONTROL, 0x00, 0x00).Le(0x00));
}

long CSCardCardOSM4::SwitchToAdminLifeCycle()
{
    CK_BYTE bLifeCycle = 0;
    const long lResult = ReadLifeCycle(bLifeCycle);
    if (lResult != 0) {
        return lResult;
    }
    m_PreviousLcycle = bLifeCycle;
    if (bLifeCycle == kAdministration) {
        return 0;
    }
    return bLifeCycle == kOperational ? ToggleLifeCycle() : session::WRONG_ANSWER;
}

long CSCardCardOSM4::RevertFromAdminLifeCycle()
{
    CK_BYTE bLifeCycle = 0;
    long lResult = ReadLifeCycle(bLifeCycle);
    if (lResult != 0 || bLifeCycle != kAdministration || m_PreviousLcycle == kAdministration) {
        return lResult;
    }
    lResult = ToggleLifeCycle();
    if (lResult == 0) {
        m_PreviousLcycle = kOperational;
    }
    return lResult;
}

long CSCardCardOSM4::CreateFile(_M4_FileInfo_common* pFileInfo)
{
    if (!isValid()) {
        return session::INVALID;
    }
    BringDFInLine();
    if (SelectEx2(pFileInfo->fid, nullptr, FidTypeOf(pFileInfo->isDF()), 1) == 0) {
        return eM4Error_file_already_exists;
    }
    std::array<CK_BYTE, kMaxFileBody> body{};
    CK_ULONG cbBody = body.size();
    if (pFileInfo->GetTLV(body.data(), &cbBody) != 0 || cbBody == 0) {
        return session::MISSING_ARGUMENT;
    }
    {
        const CAdminLifeCycle administration(*this);
        const long lResult = SendForStatus(CCommandApdu(cla::ISO, ins::CREATE_FILE, 0x00, 0x00)
                                               .Data({tag::FCI, static_cast<std::uint8_t>(cbBody)})
                                               .Data(body.data(), cbBody));
        if (lResult != 0) {
            return lResult;
        }
    }
    if (pFileInfo->isDF()) {
        m_Current_DF_path.Append(pFileInfo->fid);
        m_Current_EF_path = m_Current_DF_path;
    } else {
        m_Current_EF_path = EfIn(m_Current_DF_path, pFileInfo->fid);
    }
    RememberSelection(m_Current_EF_path, true);
    return 0;
}

long CSCardCardOSM4::DeleteFile(WORD fid, CK_BBOOL bIsDF)
{
    if (!isValid()) {
        return session::INVALID;
    }
    BringDFInLine();
    long lResult = 0;
    {
        const CAdminLifeCycle administration(*this);
        lResult = SendForStatus(CCommandApdu(cla::ISO, ins::DELETE_FILE, 0x00, 0x00).Word(fid));
    }
    if (lResult == 0) {
        DFEF_Path path = EfIn(m_Current_DF_path, fid);
        path.m_isDF = bIsDF;
        m_Cache.RemoveSelect(path);
        m_Cache.Remove(path);
    }
    return lResult;
}

long CSCardCardOSM4::ActivateFile(WORD fid, CK_BBOOL bActivate, CK_BBOOL bIsDF)
{
    if (!isValid()) {
        return session::INVALID;
    }
    BringDFInLine();
    const long lResult = SelectEx2(fid, nullptr, FidTypeOf(bIsDF), 1);
    if (lResult != 0) {
        return lResult;
    }
    const std::uint8_t bIns = bActivate ? ins::ACTIVATE : ins::DEACTIVATE;
    return SendForStatus(CCommandApdu(cla::ISO, bIns, 0x00, 0x00).Le(0x00));
}

long CSCardCardOSM4::PutDataFCI(_M4_FileInfo_common* pInfo)
{
    if (!isValid()) {
        return session::INVALID;
    }
    if (pInfo->isDF()) {
        BringDFInLine();
    } else {
        BringFileInLine();
    }
    std::array<CK_BYTE, kMaxFileBody> body{};
    CK_ULONG cbBody = body.size();
    if (pInfo->GetTLV_Admin(body.data(), &cbBody, 1) != 0) {
        return eM4Error_invalid_args;
    }
    const CAdminLifeCycle administration(*this);
    return SendForStatus(
        CCommandApdu(cla::ISO, ins::PUT_DATA, p1::CARD_DATA, tag::FCI).Data(body.data(), cbBody));
}

long CSCardCardOSM4::CreateBSO(_M4_BSO_info* pBsoInfo, CK_BBOOL /*bCreateForKeyGeneration*/)
{
    return PutBSO([&](CK_BYTE* pb, CK_ULONG* pcb) { return pBsoInfo->GetTLV(pb, pcb); });
}

long CSCardCardOSM4::AdminBSO(_M4_BSO_info* pBsoInfo, CK_BBOOL bUpdateSM)
{
    return PutBSO(
        [&](CK_BYTE* pb, CK_ULONG* pcb) { return pBsoInfo->GetTLV_Admin(pb, pcb, bUpdateSM); });
}

template <typename TWrite> long CSCardCardOSM4::PutBSO(TWrite write)
{
    if (!isValid()) {
        return session::INVALID;
    }
    BringDFInLine();
    // Two bytes beyond the announced capacity: one descriptor writes two more than it checks for.
    CSecret<kMaxObjectBody + 2> body;
    CK_ULONG cbBody = kMaxObjectBody;
    if (write(body.data(), &cbBody) != 0 || cbBody > kMaxObjectBody) {
        return eM4Error_invalid_args;
    }
    const CAdminLifeCycle administration(*this);
    return SendForStatus(CCommandApdu(cla::ISO, ins::PUT_DATA, p1::CARD_DATA, tag::OBJECT)
                             .Data(body.data(), cbBody));
}

long CSCardCardOSM4::ListFiles(WORD* pDFPath, CK_ULONG ulDFsInPath, _DirFileInfo** ppFiles,
                               CK_ULONG* pulCount, eListFileMode ListMode)
{
    if (!isValid()) {
        return session::INVALID;
    }
    if (ppFiles == nullptr || pulCount == nullptr) {
        return eM4Error_invalid_args;
    }
    BringDFInLine();
    *ppFiles = nullptr;
    *pulCount = 0;
    if (pDFPath != nullptr && ulDFsInPath != 0 && pDFPath[0] == MF_FID) {
        ++pDFPath;
        --ulDFsInPath;
    }
    long lResult = PathSelectWORD2(pDFPath, ulDFsInPath, 1, 1);
    if (lResult != 0) {
        return lResult;
    }
    SListing listing;
    listing.files.reset(new (std::nothrow) _DirFileInfo[kMaxEntries]());
    if (listing.files == nullptr) {
        return eM4Error_non_enough_memory;
    }
    for (int i = 0; i < kMaxPages && lResult == 0; ++i) {
        CResponseApdu response;
        CCommandApdu command(cla::PROPRIETARY, ins::DIRECTORY, static_cast<std::uint8_t>(ListMode),
                             listing.bNext);
        lResult = Send(command.Le(0x00), response);
        if (lResult != 0) {
            break;
        }
        const CK_ULONG ulBefore = listing.ulCount;
        lResult = listing.TakePage(response.data(), response.DataLength());
        if (listing.bNext == 0 || listing.IsFull() || listing.ulCount == ulBefore) {
            break;
        }
    }
    if (listing.ulCount != 0) {
        *ppFiles = listing.files.release();
        *pulCount = listing.ulCount;
    }
    return lResult;
}

long CSCardCardOSM4::GetFreeMemory(eMemoryType MemoryType, WORD& size)
{
    if (!isValid()) {
        return session::INVALID;
    }
    BringDFInLine();
    CResponseApdu response;
    CCommandApdu command(cla::ISO, ins::GET_DATA, p1::CARD_DATA,
                         static_cast<std::uint8_t>(MemoryType));
    const long lResult = Send(command.Le(0x00), response);
    if (lResult == 0) {
        size = static_cast<WORD>(response[0] << 8 | response[1]);
    }
    return lResult;
}

bool CSCardCardOSM4::CCMS_Read(CK_BYTE_PTR pCCMSData, CK_ULONG cbCCMSData, CK_BYTE_PTR* ppData,
                               CK_ULONG_PTR pcbData)
{
    constexpr CK_ULONG kHeader = 2; // the length byte and the 00 that it counts
    *ppData = nullptr;
    *pcbData = 0;
    if (pCCMSData == nullptr || cbCCMSData == 0 || pCCMSData[0] - 1U > cbCCMSData) {
        return false;
    }
    *pcbData = pCCMSData[0] - 1U;
    *ppData = pCCMSData + kHeader;
    return true;
}

bool CSCardCardOSM4::CCMS_Write(const CK_BYTE* pData, CK_ULONG cbData, CK_BYTE_PTR pCCMSData,
                                CK_ULONG_PTR pcbCCMSData, CK_ULONG cbCCMSDataBlockSize)
{
    constexpr CK_ULONG kHeader = 2;
    if (pData == nullptr || cbData == 0 || pcbCCMSData == nullptr || cbData > cbCCMSDataBlockSize) {
        return false;
    }
    const CK_ULONG cbBlock = cbCCMSDataBlockSize + kHeader;
    if (pCCMSData == nullptr || *pcbCCMSData < cbBlock) {
        *pcbCCMSData = cbBlock;
        return false;
    }
    std::memset(pCCMSData, 0, *pcbCCMSData);
    pCCMSData[0] = static_cast<CK_BYTE>(cbCCMSDataBlockSize + 1);
    std::memcpy(pCCMSData + cbBlock - cbData, pData, cbData);
    return true;
}
