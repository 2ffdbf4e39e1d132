// SPDX-License-Identifier: Apache-2.0
//
// CardOS M4: administration of files and security objects.

#include "cardlib/scardcardosm4.h"

#include "cardlib/cache/path.h"
#include "cardlib/sessions/adminlifecycle.h"
#include "cardlib/sessions/apdu.h"
#include "cardlib/sessions/boundcard.h"
#include "cardlib/support/careful.h"
#include "cardlib/support/secret.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

namespace {

constexpr CK_BYTE OPERATIONAL = 0x10;
constexpr CK_BYTE ADMINISTRATION = 0x20;
constexpr CK_ULONG MAX_FILE_BODY = 251;
constexpr CK_ULONG MAX_OBJECT_BODY = 1019;
constexpr CK_ULONG MAX_ENTRIES = 1024;
constexpr int MAX_PAGES = 256;

int FidTypeOf(bool bIsDF)
{
    return bIsDF ? eFidDF : eFidEF;
}

bool IsKnown(CK_BYTE bLifeCycle)
{
    return bLifeCycle == OPERATIONAL || bLifeCycle == ADMINISTRATION;
}

/// Whether a result says nothing about what the card has done.
bool IsLost(long lResult)
{
    return lResult < 0 || lResult > 0xFFFF || lResult == sw::NO_DIAGNOSIS ||
           lResult == eM4Error_SM_LE_doesnt_fit_output;
}

/// Toggles the life cycle. Careful work looks where the card is when the answer was lost, and asks
/// once more where it has stayed.
template <typename TToggle, typename TRead>
long ToggleTo(CK_BYTE bWanted, TToggle toggle, TRead read)
{
    const long lResult = toggle();
    CK_BYTE bNow = 0;
    if (!IsLost(lResult) || !CCareful::Now() || read(bNow) != 0 || !IsKnown(bNow)) {
        return lResult;
    }
    return bNow == bWanted ? 0 : toggle();
}

/// The files found by a listing.
struct SListing {
    /// Takes the entries of one answer. \return 0, or -1 when it is no chain of templates.
    long TakePage(CTlv page);
    void Take(const CTlv& entry);
    bool IsFull() const { return ulCount == MAX_ENTRIES; }

    std::unique_ptr<_DirFileInfo[]> files;
    CK_ULONG ulCount = 0;
    CK_BYTE bNext = 0; ///< where the next page begins; 0 after the last
};

void SListing::Take(const CTlv& entry)
{
    const CTlv type = entry.Find(tag::DESCRIPTOR);
    const CTlv fid = entry.Find(tag::ACCESS);
    const CTlv next = entry.Find(tag::NEXT);
    if (type.HasAtLeast(1) && fid.HasAtLeast(2)) {
        files[ulCount++] = {.fid = fid.Word(), .fileType = type[0]};
    }
    bNext = next.HasAtLeast(1) ? next[0] : CK_BYTE{0};
}

long SListing::TakePage(CTlv page)
{
    bNext = 0;
    while (page.size() != 0 && !IsFull()) {
        const CTlv entry = page.Find(tag::FCI);
        if (page[0] != tag::FCI || !entry) {
            return refusal::WRONG_ANSWER;
        }
        Take(entry);
        page = page.Behind(entry);
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
    if (bLifeCycle == ADMINISTRATION) {
        return 0;
    }
    if (bLifeCycle != OPERATIONAL) {
        return refusal::WRONG_ANSWER;
    }
    return ToggleTo(
        ADMINISTRATION, [this] { return ToggleLifeCycle(); },
        [this](CK_BYTE& b) { return ReadLifeCycle(b); });
}

long CSCardCardOSM4::RevertFromAdminLifeCycle()
{
    CK_BYTE bLifeCycle = 0;
    long lResult = ReadLifeCycle(bLifeCycle);
    if (lResult == 0 && !IsKnown(bLifeCycle) && CCareful::Now()) {
        return refusal::WRONG_ANSWER;
    }
    if (lResult != 0 || bLifeCycle != ADMINISTRATION || m_PreviousLcycle == ADMINISTRATION) {
        return lResult;
    }
    lResult = ToggleTo(
        OPERATIONAL, [this] { return ToggleLifeCycle(); },
        [this](CK_BYTE& b) { return ReadLifeCycle(b); });
    if (lResult == 0) {
        m_PreviousLcycle = OPERATIONAL;
    }
    return lResult;
}

long CSCardCardOSM4::CreateFile(_M4_FileInfo_common* pFileInfo)
{
    if (pFileInfo == nullptr) {
        return refusal::MISSING_ARGUMENT;
    }
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
    }
    BringDFInLine();
    if (SelectEx2(pFileInfo->fid, nullptr, FidTypeOf(pFileInfo->isDF()), 1) == 0) {
        return eM4Error_file_already_exists;
    }
    std::array<CK_BYTE, MAX_FILE_BODY> body{};
    CK_ULONG cbBody = body.size();
    if (pFileInfo->GetTLV(body.data(), &cbBody) != 0 || cbBody == 0) {
        return refusal::MISSING_ARGUMENT;
    }
    CAdminLifeCycle administration(*this);
    const long lCreated = SendForStatus(CCommandApdu(cla::ISO, ins::CREATE_FILE, 0x00, 0x00)
                                            .Data({tag::FCI, static_cast<std::uint8_t>(cbBody)})
                                            .Data(body.data(), cbBody));
    const long lResult = administration.End(lCreated);
    if (lCreated != 0) {
        return lCreated;
    }
    if (pFileInfo->isDF()) {
        m_Current_DF_path.Append(pFileInfo->fid);
        m_Current_EF_path = m_Current_DF_path;
    } else {
        m_Current_EF_path = EfIn(m_Current_DF_path, pFileInfo->fid);
    }
    RememberSelection(m_Current_EF_path, true);
    return lResult;
}

long CSCardCardOSM4::DeleteFile(WORD fid, CK_BBOOL bIsDF)
{
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
    }
    BringDFInLine();
    CAdminLifeCycle administration(*this);
    const long lDeleted =
        SendForStatus(CCommandApdu(cla::ISO, ins::DELETE_FILE, 0x00, 0x00).Word(fid));
    const long lResult = administration.End(lDeleted);
    if (lDeleted == 0) {
        DFEF_Path path = EfIn(m_Current_DF_path, fid);
        path.m_isDF = bIsDF;
        m_Cache.RemoveSelect(path);
        m_Cache.Remove(path);
    }
    return lResult;
}

long CSCardCardOSM4::ActivateFile(WORD fid, CK_BBOOL bActivate, CK_BBOOL bIsDF)
{
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
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
    if (pInfo == nullptr) {
        return refusal::MISSING_ARGUMENT;
    }
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
    }
    if (pInfo->isDF()) {
        BringDFInLine();
    } else {
        BringFileInLine();
    }
    std::array<CK_BYTE, MAX_FILE_BODY> body{};
    CK_ULONG cbBody = body.size();
    if (pInfo->GetTLV_Admin(body.data(), &cbBody, 1) != 0) {
        return eM4Error_invalid_args;
    }
    CAdminLifeCycle administration(*this);
    return administration.End(SendForStatus(
        CCommandApdu(cla::ISO, ins::PUT_DATA, p1::CARD_DATA, tag::FCI).Data(body.data(), cbBody)));
}

long CSCardCardOSM4::CreateBSO(_M4_BSO_info* pBsoInfo, CK_BBOOL /*bCreateForKeyGeneration*/)
{
    if (pBsoInfo == nullptr) {
        return refusal::MISSING_ARGUMENT;
    }
    return PutBSO([&](CK_BYTE* pb, CK_ULONG* pcb) { return pBsoInfo->GetTLV(pb, pcb); });
}

long CSCardCardOSM4::AdminBSO(_M4_BSO_info* pBsoInfo, CK_BBOOL bUpdateSM)
{
    if (pBsoInfo == nullptr) {
        return refusal::MISSING_ARGUMENT;
    }
    return PutBSO(
        [&](CK_BYTE* pb, CK_ULONG* pcb) { return pBsoInfo->GetTLV_Admin(pb, pcb, bUpdateSM); });
}

template <typename TWrite> long CSCardCardOSM4::PutBSO(TWrite write)
{
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
    }
    // Two bytes beyond the announced capacity: one descriptor writes two more than it checks for.
    CSecret<MAX_OBJECT_BODY + 2> body;
    CK_ULONG cbBody = MAX_OBJECT_BODY;
    if (write(body.data(), &cbBody) != 0 || cbBody > MAX_OBJECT_BODY) {
        return eM4Error_invalid_args;
    }
    CCommandApdu command(cla::ISO, ins::PUT_DATA, p1::CARD_DATA, tag::OBJECT);
    command.Data(body.data(), cbBody);
    if (command.ExceedsLc() && IsProtected(command.data(), command.size())) {
        return eM4Error_invalid_args; // here, before the life cycle is switched for it
    }
    BringDFInLine();
    CAdminLifeCycle administration(*this);
    return administration.End(SendForStatus(command));
}

long CSCardCardOSM4::ListFiles(WORD* pDFPath, CK_ULONG ulDFsInPath, _DirFileInfo** ppFiles,
                               CK_ULONG* pulCount, eListFileMode ListMode)
{
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
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
    listing.files.reset(new (std::nothrow) _DirFileInfo[MAX_ENTRIES]());
    if (listing.files == nullptr) {
        return eM4Error_non_enough_memory;
    }
    for (int i = 0; i < MAX_PAGES && lResult == 0; ++i) {
        CResponseApdu response;
        CCommandApdu command(cla::PROPRIETARY, ins::DIRECTORY, static_cast<std::uint8_t>(ListMode),
                             listing.bNext);
        lResult = Send(command.Le(0x00), response);
        if (lResult != 0) {
            break;
        }
        const CK_ULONG ulBefore = listing.ulCount;
        lResult = listing.TakePage(response.Tlv());
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
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
    }
    BringDFInLine();
    CResponseApdu response;
    CCommandApdu command(cla::ISO, ins::GET_DATA, p1::CARD_DATA,
                         static_cast<std::uint8_t>(MemoryType));
    const long lResult = Send(command.Le(0x00), response);
    if (lResult == 0) {
        size = BigEndian(response.data());
    }
    return lResult;
}

bool CSCardCardOSM4::CCMS_Read(CK_BYTE_PTR pCCMSData, CK_ULONG cbCCMSData, CK_BYTE_PTR* ppData,
                               CK_ULONG_PTR pcbData)
{
    constexpr CK_ULONG HEADER_BYTES = 2; // the length byte and the 00 that it counts
    if (ppData == nullptr || pcbData == nullptr) {
        return false;
    }
    *ppData = nullptr;
    *pcbData = 0;
    if (pCCMSData == nullptr || cbCCMSData == 0 || pCCMSData[0] - 1U > cbCCMSData) {
        return false;
    }
    *pcbData = pCCMSData[0] - 1U;
    *ppData = pCCMSData + HEADER_BYTES;
    return true;
}

bool CSCardCardOSM4::CCMS_Write(const CK_BYTE* pData, CK_ULONG cbData, CK_BYTE_PTR pCCMSData,
                                CK_ULONG_PTR pcbCCMSData, CK_ULONG cbCCMSDataBlockSize)
{
    constexpr CK_ULONG HEADER_BYTES = 2;
    if (pData == nullptr || cbData == 0 || pcbCCMSData == nullptr || cbData > cbCCMSDataBlockSize) {
        return false;
    }
    const CK_ULONG cbBlock = cbCCMSDataBlockSize + HEADER_BYTES;
    if (pCCMSData == nullptr || *pcbCCMSData < cbBlock) {
        *pcbCCMSData = cbBlock;
        return false;
    }
    std::memset(pCCMSData, 0, *pcbCCMSData);
    pCCMSData[0] = static_cast<CK_BYTE>(cbCCMSDataBlockSize + 1);
    std::memcpy(pCCMSData + cbBlock - cbData, pData, cbData);
    return true;
}
