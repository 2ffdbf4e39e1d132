// SPDX-License-Identifier: Apache-2.0
//
// CardOS M4: transparent files, records and file information.

#include "cardlib/scardcardosm4.h"

#include "cardlib/cache/path.h"
#include "cardlib/sessions/apdu.h"
#include "cardlib/sessions/binaryio.h"
#include "cardlib/sessions/boundcard.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

namespace {

constexpr std::uint8_t FIND_BY_TAG = 0x02;   // P2 of READ RECORD
constexpr std::uint8_t RECORD_NUMBER = 0x04; // P2 of READ RECORD
constexpr CK_BYTE RECORD_HEADER = 2;         // tag and length of a record's own

void FillAccessBytes(_M4_FileInfo_SM& fileInfo, const CTlv& access)
{
    CK_BYTE* const FIELDS[] = {
        &fileInfo.AC_READ,       &fileInfo.AC_UPDATE,   &fileInfo.AC_APPEND,
        &fileInfo.AC_DEACTIVATE, &fileInfo.AC_ACTIVATE, &fileInfo.AC_DELETE,
        &fileInfo.AC_ADMIN,      &fileInfo.AC_INCREASE, &fileInfo.AC_DECREASE};
    for (std::size_t i = 0; i < std::size(FIELDS) && i < access.size(); ++i) {
        *FIELDS[i] = access[i];
    }
}

void FillFromFci(_M4_FileInfo_SM& fileInfo, const CTlv& fci)
{
    if (const CTlv size = fci.Find(tag::TOTAL_SIZE); size.HasAtLeast(2)) {
        fileInfo.size = size.Word();
    }
    if (const CTlv descriptor = fci.Find(tag::DESCRIPTOR); descriptor.HasAtLeast(1)) {
        fileInfo.type = static_cast<_eFileType>(descriptor[0]);
        if (descriptor.size() > 5 && fileInfo.isDF()) {
            fileInfo.DF_Body_size = descriptor.Word(2);
        } else if (descriptor.size() > 5) {
            fileInfo.recordSize = descriptor[3];
        }
    }
    if (const CTlv fid = fci.Find(tag::FID); fid.HasAtLeast(2)) {
        fileInfo.fid = fid.Word();
    }
    FillAccessBytes(fileInfo, fci.Find(tag::ACCESS));
}

} // namespace

long CSCardCardOSM4::ReadBinary(WORD Offset, WORD l, CK_BYTE_PTR pBuffer)
{
    if (pBuffer == nullptr && l != 0) {
        return refusal::MISSING_ARGUMENT;
    }
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
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
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
    }
    if (pData == nullptr || uDataLen == 0) {
        return eM4Error_invalid_args;
    }
    if (!IsWritable(uDataLen, ulOffset)) {
        return sw::WRONG_OFFSET;
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
        return refusal::MISSING_ARGUMENT;
    }
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
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
    return ReadRecord(FIND_BY_TAG, tag, pData, pcbData);
}

long CSCardCardOSM4::ReadRecordAbsolute(CK_BYTE nRecord, CK_BYTE_PTR pData, CK_BYTE_PTR pcbData)
{
    return ReadRecord(RECORD_NUMBER, nRecord, pData, pcbData);
}

long CSCardCardOSM4::ReadRecordTLVStrip(CK_BYTE tag, CK_BYTE_PTR pData, CK_BYTE_PTR pcbData)
{
    if (pcbData == nullptr) {
        return eM4Error_invalid_args;
    }
    if (pData == nullptr || *pcbData == 0) {
        return refusal::MISSING_ARGUMENT;
    }
    std::array<CK_BYTE, 256> record{};
    CK_BYTE cbRecord = *pcbData;
    if (cbRecord + RECORD_HEADER < 256) {
        cbRecord = static_cast<CK_BYTE>(cbRecord + RECORD_HEADER);
    }
    const long lResult = ReadRecordTLV(tag, record.data(), &cbRecord);
    if (lResult != 0) {
        return lResult;
    }
    *pcbData = static_cast<CK_BYTE>(std::max<int>(cbRecord, RECORD_HEADER) - RECORD_HEADER);
    std::memcpy(pData, record.data() + RECORD_HEADER, *pcbData);
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
        return refusal::MISSING_ARGUMENT;
    }
    if (cbData > CCommandApdu::MAX_DATA) {
        return eM4Error_invalid_args;
    }
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
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
    FillFromFci(fileInfo, response.Tlv().Find(tag::FCI));
    // The card is on the file already: a memory of it as missing would keep the session elsewhere.
    const DFEF_Path path = EfIn(m_Current_DF_path, fileInfo.fid);
    if (!m_Cache.GetSelect(path).m_bExists) {
        m_Cache.RemoveSelect(path);
    }
    if (SelectEx(fileInfo.fid, nullptr, fileInfo.isDF() ? eFidDF : eFidEF) != 0) {
        m_bCurrentEFPhisicallySelected = 0; // the next command that needs the old place selects it
        m_bCurrentDFPhisicallySelected = m_bCurrentDFPhisicallySelected && !fileInfo.isDF();
    }
    return 0;
}
