// SPDX-License-Identifier: Apache-2.0
//
// CardOS M4: transparent files, records and file information.

#include "cardlib/apdu.h"
#include "cardlib/binaryio.h"
#include "cardlib/pathtracking.h"
#include "cardlib/scardcardosm4.h"
#include "cardlib/utils.h"

namespace {

constexpr std::uint8_t kFindByTag = 0x02;    // P2 of READ RECORD
constexpr std::uint8_t kRecordNumber = 0x04; // P2 of READ RECORD
constexpr CK_BYTE kRecordHeader = 2;         // tag and length of a record's own

WORD BigEndian(const CK_BYTE* pb)
{
    return static_cast<WORD>(pb[0] << 8 | pb[1]);
}

/// One object of an FCI; empty when it is missing or shorter than needed.
struct SFciObject {
    SFciObject(std::uint8_t bTag, CK_BYTE* pbFci, CK_ULONG cbFci, CK_ULONG cbNeeded)
    {
        if (!TLV_Get(bTag, pbFci, cbFci, &pb, &cb) || cb < cbNeeded) {
            pb = nullptr;
        }
    }
    explicit operator bool() const { return pb != nullptr; }

    CK_BYTE* pb = nullptr;
    CK_ULONG cb = 0;
};

void FillAccessBytes(_M4_FileInfo_SM& fileInfo, const SFciObject& access)
{
    CK_BYTE* const kFields[] = {
        &fileInfo.AC_READ,       &fileInfo.AC_UPDATE,   &fileInfo.AC_APPEND,
        &fileInfo.AC_DEACTIVATE, &fileInfo.AC_ACTIVATE, &fileInfo.AC_DELETE,
        &fileInfo.AC_ADMIN,      &fileInfo.AC_INCREASE, &fileInfo.AC_DECREASE};
    for (std::size_t i = 0; i < std::size(kFields) && i < access.cb; ++i) {
        *kFields[i] = access.pb[i];
    }
}

void FillFromFci(_M4_FileInfo_SM& fileInfo, CK_BYTE* pbFci, CK_ULONG cbFci)
{
    if (const SFciObject size{tag::TOTAL_SIZE, pbFci, cbFci, 2}) {
        fileInfo.size = BigEndian(size.pb);
    }
    if (const SFciObject descriptor{tag::DESCRIPTOR, pbFci, cbFci, 1}) {
        fileInfo.type = static_cast<_eFileType>(descriptor.pb[0]);
        if (descriptor.cb > 5 && fileInfo.isDF()) {
            fileInfo.DF_Body_size = BigEndian(descriptor.pb + 2);
        } else if (descriptor.cb > 5) {
            fileInfo.recordSize = descriptor.pb[3];
        }
    }
    if (const SFciObject fid{tag::FID, pbFci, cbFci, 2}) {
        fileInfo.fid = BigEndian(fid.pb);
    }
    if (const SFciObject access{tag::ACCESS, pbFci, cbFci, 1}) {
        FillAccessBytes(fileInfo, access);
    }
}

} // namespace

long CSCardCardOSM4::ReadBinary(WORD Offset, WORD l, CK_BYTE_PTR pBuffer)
{
    if (!isValid()) {
        return session::INVALID;
    }
    if (ReadCurrentFromCache(Offset, l, pBuffer)) {
        return 0;
    }
    BringFileInLine();
    const auto send = [this](auto& command, auto& response) { return Send(command, response); };
    const long lResult = ReadBinaryInPieces(send, Offset, l, pBuffer);
    if (lResult == 0) {
        StoreInCache(Offset, l, pBuffer);
    }
    return lResult;
}

long CSCardCardOSM4::UpdateBinary(const CK_BYTE* pData, CK_ULONG uDataLen, CK_ULONG ulOffset)
{
    if (!isValid()) {
        return session::INVALID;
    }
    if (pData == nullptr || uDataLen == 0) {
        return eM4Error_invalid_args;
    }
    BringFileInLine();
    const auto send = [this](auto& command, auto& response) { return Send(command, response); };
    const long lResult = UpdateBinaryInPieces(send, pData, uDataLen, ulOffset);
    if (lResult == 0) {
        StoreInCache(ulOffset, uDataLen, pData);
    }
    return lResult;
}

long CSCardCardOSM4::ReadRecord(CK_BYTE access_mode, CK_BYTE rec, CK_BYTE_PTR pData,
                                CK_BYTE_PTR pcbData)
{
    if (pData == nullptr || pcbData == nullptr || *pcbData == 0) {
        return session::MISSING_ARGUMENT;
    }
    if (!isValid()) {
        return session::INVALID;
    }
    BringFileInLine();
    CResponseApdu response;
    CCommandApdu command(cla::ISO, ins::READ_RECORD, rec, access_mode);
    const long lResult = Send(command.Le(*pcbData), response);
    if (lResult != 0) {
        return lResult;
    }
    *pcbData = static_cast<CK_BYTE>(std::min<std::size_t>(*pcbData, response.DataLength()));
    std::memcpy(pData, response.data(), *pcbData);
    return 0;
}

long CSCardCardOSM4::ReadRecordTLV(CK_BYTE tag, CK_BYTE_PTR pData, CK_BYTE_PTR pcbData)
{
    return ReadRecord(kFindByTag, tag, pData, pcbData);
}

long CSCardCardOSM4::ReadRecordAbsolute(CK_BYTE nRecord, CK_BYTE_PTR pData, CK_BYTE_PTR pcbData)
{
    return ReadRecord(kRecordNumber, nRecord, pData, pcbData);
}

long CSCardCardOSM4::ReadRecordTLVStrip(CK_BYTE tag, CK_BYTE_PTR pData, CK_BYTE_PTR pcbData)
{
    if (pcbData == nullptr) {
        return eM4Error_invalid_args;
    }
    if (pData == nullptr || *pcbData == 0) {
        return session::MISSING_ARGUMENT;
    }
    std::array<CK_BYTE, 256> record{};
    CK_BYTE cbRecord = *pcbData;
    if (cbRecord + kRecordHeader < 256) {
        cbRecord = static_cast<CK_BYTE>(cbRecord + kRecordHeader);
    }
    const long lResult = ReadRecordTLV(tag, record.data(), &cbRecord);
    if (lResult != 0) {
        return lResult;
    }
    *pcbData = static_cast<CK_BYTE>(std::max<int>(cbRecord, kRecordHeader) - kRecordHeader);
    std::memcpy(pData, record.data() + kRecordHeader, *pcbData);
    return 0;
}

long CSCardCardOSM4::UpdateRecord(CK_BYTE access_mode, CK_BYTE rec, CK_BYTE_PTR pData,
                                  CK_BYTE cbData)
{
    return WriteRecord(ins::UPDATE_RECORD, rec, access_mode, pData, cbData);
}

long CSCardCardOSM4::AppendRecord(CK_BYTE_PTR pData, CK_BYTE cbData)
{
    return WriteRecord(ins::APPEND_RECORD, 0x00, 0x00, pData, cbData);
}

long CSCardCardOSM4::WriteRecord(CK_BYTE bIns, CK_BYTE bP1, CK_BYTE bP2, const CK_BYTE* pData,
                                 CK_BYTE cbData)
{
    if (pData == nullptr || cbData == 0) {
        return session::MISSING_ARGUMENT;
    }
    if (cbData > CCommandApdu::MAX_DATA) {
        return eM4Error_invalid_args;
    }
    if (!isValid()) {
        return session::INVALID;
    }
    BringFileInLine();
    return SendForStatus(CCommandApdu(cla::ISO, bIns, bP1, bP2).Data(pData, cbData));
}

long CSCardCardOSM4::GetFileInfo(_M4_FileInfo_SM& fileInfo)
{
    if (!m_bCurrentDFPhisicallySelected) {
        const long lResult =
            PathSelectWORD2(m_Current_DF_path.m_pPath, m_Current_DF_path.m_FidsInPath, 1, 1);
        if (lResult != 0) {
            return lResult;
        }
    }
    CResponseApdu response(255);
    CCommandApdu command(cla::ISO, ins::SELECT,
                         fileInfo.fid == MF_FID ? p1::SELECT_MF : p1::SELECT_PATH_FROM_DF,
                         p2::SELECT_FCI);
    const long lResult = Send(command.Word(fileInfo.fid).Le(0xFF), response);
    if (lResult != 0) {
        return lResult;
    }
    if (const SFciObject fci{tag::FCI, response.data(), response.DataLength(), 0}) {
        FillFromFci(fileInfo, fci.pb, fci.cb);
    }
    SelectEx(fileInfo.fid, nullptr, fileInfo.isDF() ? eFidDF : eFidEF);
    return 0;
}
