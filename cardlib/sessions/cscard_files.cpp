// SPDX-License-Identifier: Apache-2.0
//
// The base session: selection, the current paths, and transparent files through the cache.

#include "cardlib/cscard.h"

#include "cardlib/cache/path.h"
#include "cardlib/sessions/apdu.h"
#include "cardlib/sessions/binaryio.h"
#include "cardlib/sessions/boundcard.h"

#include <algorithm>
#include <iterator>
#include <new>

namespace {

constexpr WORD KNOWN_DFS[] = {0x0000, 0x1111, 0x1112, 0xDF01, 0x1FFF, 0x2FFF};

/// The file size in an FCI: tag 80 of two bytes inside 6F, 0 without one.
DWORD SizeInFci(const CResponseApdu& response)
{
    const CTlv answer = response.Tlv();
    const CTlv fci = answer.IsChain() ? answer.Find(tag::FCI) : CTlv();
    const CTlv size = fci.IsChain() ? fci.Find(tag::SIZE) : CTlv();
    // One byte further right than the field, on purpose: hosts rely on the numbers it gives.
    return size.Is(2) ? size.Word(1) : 0;
}

} // namespace

long CSCard::SelectEx(WORD fid, DWORD* len, int fidType)
{
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
    }
    CResponseApdu response(255);
    CCommandApdu command(cla::ISO, ins::SELECT, p1::SELECT_MF,
                         len == nullptr ? p2::SELECT_NO_ANSWER : p2::SELECT_FCI);
    const long lResult = Send(command.Word(fid), response);
    if (lResult != 0) {
        return lResult;
    }
    if (len != nullptr) {
        *len = SizeInFci(response);
    }
    TrackSelection(fid, fidType);
    return 0;
}

void CSCard::TrackSelection(WORD fid, int fidType)
{
    if (fid == MF_FID) {
        m_Current_DF_path.m_pPath[0] = MF_FID;
        m_Current_DF_path.m_FidsInPath = 1;
        m_Current_DF_path.m_isPinVerified = 0;
        m_Current_EF_path = m_Current_DF_path;
        return;
    }
    const bool bKnownDF =
        std::find(std::begin(KNOWN_DFS), std::end(KNOWN_DFS), fid) != std::end(KNOWN_DFS);
    if (fidType == eFidEF) {
        m_Current_EF_path = EfIn(m_Current_DF_path, fid);
    } else if (fidType == eFidDF || (fidType == eFidUnknown && bKnownDF)) {
        m_Current_DF_path.Append(fid);
        if (fidType == eFidUnknown) {
            m_Current_DF_path.m_isDF = 1;
        }
        m_Current_EF_path = m_Current_DF_path;
    } else if (fidType == eFidUnknown) {
        // Without the DF path in front, on purpose: two such selections leave both on the EF path.
        m_Current_EF_path.Append(fid);
    }
}

long CSCard::PathSelect(CK_BYTE* path, CK_ULONG ulFidsInPath, CK_BBOOL isDF)
{
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
    }
    CK_BYTE mf[] = {0x3F, 0x00};
    if (path == nullptr || ulFidsInPath == 0) {
        path = mf;
        ulFidsInPath = 1;
    }
    for (CK_ULONG i = 0; i < ulFidsInPath; ++i) {
        const WORD fid = BigEndian(path + 2 * i);
        const bool bLast = i + 1 == ulFidsInPath;
        const long lResult = SelectEx(fid, nullptr, isDF || !bLast ? eFidDF : eFidEF);
        if (lResult != 0) {
            return lResult;
        }
    }
    return 0;
}

long CSCard::PathSelectWORD(WORD* path, CK_ULONG ulFidsInPath, CK_BBOOL isDF)
{
    CPathBytes bytes(path, ulFidsInPath);
    return bytes.data() == nullptr ? refusal::BAD_ARGUMENTS
                                   : PathSelect(bytes.data(), bytes.Fids(), isDF);
}

long CSCard::ForceSelectCurrentEF()
{
    DFEF_Path& path = m_Current_EF_path.m_isDF ? m_Current_DF_path : m_Current_EF_path;
    // Every file as a DF, on purpose: this only brings the card back to the file.
    return PathSelectWORD(path.m_pPath, path.m_FidsInPath, 1);
}

bool CSCard::ReadCurrentFromCache(WORD Offset, WORD l, CK_BYTE_PTR pBuffer)
{
    const bool bIsEF = !m_Current_EF_path.m_isDF && m_Current_EF_path.m_FidsInPath != 0;
    return bIsEF && CSCard::ReadBinaryFromCacheOnly(m_Current_EF_path, Offset, l, pBuffer) == 0;
}

void CSCard::StoreInCache(CK_ULONG ulOffset, CK_ULONG ulLen, const CK_BYTE* pData)
{
    try {
        m_Cache.Put(m_Current_EF_path, static_cast<long>(ulOffset), static_cast<long>(ulLen), pData,
                    0);
    } catch (const std::bad_alloc&) {
        m_Cache.Remove(m_Current_EF_path); // never serve what the card no longer holds
    }
}

long CSCard::ReadBinary(WORD Offset, WORD l, CK_BYTE_PTR pBuffer)
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
    const auto send = [this](auto& command, auto& response) { return Send(command, response); };
    const long lResult = ReadBinaryInPieces(send, Offset, l, pBuffer);
    if (lResult == 0) {
        StoreInCache(Offset, l, pBuffer);
    }
    return lResult;
}

long CSCard::ReadBinaryFromCacheOnly(DFEF_Path EfFullPath, WORD Offset, WORD l, CK_BYTE_PTR pBuffer)
{
    constexpr long NOT_CACHED = -1;
    if (pBuffer == nullptr && l != 0) {
        return refusal::MISSING_ARGUMENT;
    }
    if (!m_Cache.m_bCacheSystemEnabled || !m_Cache.isCached(EfFullPath, Offset, l)) {
        return NOT_CACHED;
    }
    CK_BYTE* pbData = nullptr;
    CK_BBOOL bPartial = 0;
    long lLength = l;
    const long lResult = m_Cache.Get(EfFullPath, Offset, lLength, pbData, bPartial);
    if (lResult != 0) {
        return lResult;
    }
    if (bPartial || pbData == nullptr) {
        return NOT_CACHED;
    }
    std::copy_n(pbData, l, pBuffer);
    return 0;
}

long CSCard::UpdateBinary(const CK_BYTE* pData, CK_ULONG uDataLen, CK_ULONG ulOffset)
{
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
    }
    if (pData == nullptr || uDataLen == 0) {
        return refusal::BAD_ARGUMENTS;
    }
    if (!IsWritable(uDataLen, ulOffset)) {
        return sw::WRONG_OFFSET;
    }
    const auto send = [this](auto& command, auto& response) { return Send(command, response); };
    const long lResult = UpdateBinaryInPieces(send, pData, uDataLen, ulOffset);
    if (lResult == 0) {
        StoreInCache(ulOffset, uDataLen, pData);
    }
    return lResult;
}
