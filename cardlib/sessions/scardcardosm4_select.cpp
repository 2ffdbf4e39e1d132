// SPDX-License-Identifier: Apache-2.0
//
// CardOS M4: selection through the cache, and where the card really stands.

#include "cardlib/scardcardosm4.h"

#include "cardlib/cache/path.h"
#include "cardlib/sessions/apdu.h"
#include "cardlib/sessions/boundcard.h"
#include "cardlib/sessions/position.h"
#include "cardlib/support/careful.h"

#include <cstdint>
#include <new>

namespace {

constexpr CK_ULONG MAX_FIDS_IN_COMMAND = 125; // 250 bytes of path

std::uint8_t SelectMode(WORD fid)
{
    return fid == MF_FID ? p1::SELECT_MF : p1::SELECT_PATH_FROM_DF;
}

/// Takes the file size from an FCI; a size of another form than two bytes leaves len alone.
long SizeInFci(const CResponseApdu& response, DWORD& len)
{
    const CTlv fci = response.Tlv().Find(tag::FCI);
    if (!fci) {
        return eM4Error_no_FCI_reported;
    }
    if (const CTlv size = fci.Find(tag::TOTAL_SIZE); size.Is(2)) {
        len = size.Word();
    }
    return 0;
}

/// A selection that failed: whoever is careful does not go on as if the card had surely stayed.
long AfterRefusal(CSCardCardOSM4& card, const CResponseApdu& response, long lResult)
{
    if (CCareful::Now() && !response.LeftPosition(lResult)) {
        LosePosition(card);
    }
    return lResult;
}

} // namespace

long CSCardCardOSM4::SelectEx(WORD fid, DWORD* len, int fidType)
{
    return SelectEx2(fid, len, fidType, 0);
}

long CSCardCardOSM4::SelectEx2(WORD fid, DWORD* len, int fidType, CK_BBOOL bUncached)
{
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
    }
    if (fidType != eFidDF && fidType != eFidEF) {
        return eM4Error_invalid_args;
    }
    DFEF_Path target = m_Current_DF_path;
    if (fid == MF_FID) {
        target.m_FidsInPath = 0;
    }
    if (!target.Append(fid)) {
        return eM4Error_invalid_args;
    }
    target.m_isDF = fidType == eFidDF;

    const bool bAskCard = bUncached || len != nullptr;
    long lResult = 0;
    if (!bAskCard && SelectFromCache(target, lResult)) {
        if (lResult == 0) {
            RecordSelection(fid, fidType, false);
        }
        return lResult;
    }
    if (!m_bCurrentDFPhisicallySelected) {
        lResult = PathSelectWORD2(m_Current_DF_path.m_pPath, m_Current_DF_path.m_FidsInPath, 1, 1);
        if (lResult != 0) {
            return lResult;
        }
    }
    CResponseApdu response;
    CCommandApdu command(cla::ISO, ins::SELECT, SelectMode(fid),
                         len == nullptr ? p2::SELECT_NO_ANSWER : p2::SELECT_FCI);
    lResult = Send(command.Word(fid).Le(0xFF), response);
    if (lResult == eM4Error_file_not_found) {
        RememberSelection(target, false);
    }
    if (lResult != 0) {
        return AfterRefusal(*this, response, lResult);
    }
    RecordSelection(fid, fidType, true);
    return len == nullptr ? 0 : SizeInFci(response, *len);
}

/// Answers a selection from the cache. \return whether the cache knows the path.
bool CSCardCardOSM4::SelectFromCache(DFEF_Path& path, long& lResult)
{
    if (!m_Cache.isSelectCached(path)) {
        return false;
    }
    lResult = m_Cache.GetSelect(path).m_bExists ? 0 : eM4Error_file_not_found;
    return true;
}

void CSCardCardOSM4::RecordSelection(WORD fid, int fidType, bool bPhysical)
{
    if (fidType == eFidEF && fid != MF_FID) {
        m_Current_EF_path = EfIn(m_Current_DF_path, fid);
        m_bCurrentEFPhisicallySelected = bPhysical;
        if (bPhysical) {
            RememberSelection(m_Current_EF_path, true);
        }
        return;
    }
    if (fid == MF_FID) {
        ForgetPosition();
        m_Current_DF_path.m_isDF = 1;
    }
    m_Current_DF_path.Append(fid);
    m_Current_EF_path = m_Current_DF_path;
    m_bCurrentDFPhisicallySelected = bPhysical;
    m_bCurrentEFPhisicallySelected = 0;
    if (bPhysical) {
        RememberSelection(m_Current_DF_path, true);
    }
}

/// The cache keeps the first entry of a path, so an older one is forgotten first.
void CSCardCardOSM4::RememberSelection(DFEF_Path path, bool bExists)
{
    m_Cache.RemoveSelect(path);
    path.m_bExists = bExists;
    try {
        m_Cache.PutSelect(path);
    } catch (const std::bad_alloc&) {
        // Without the entry the next selection asks the card.
    }
}

long CSCardCardOSM4::PathSelect(CK_BYTE* path, CK_ULONG ulFidsInPath, CK_BBOOL isDF)
{
    return PathSelect2(path, ulFidsInPath, isDF, 0);
}

long CSCardCardOSM4::PathSelect2(CK_BYTE* path, CK_ULONG ulFidsInPath, CK_BBOOL isDF,
                                 CK_BBOOL bUncached)
{
    const CBoundCard bound(*this);
    if (!bound) {
        return refusal::NO_CARD;
    }
    CK_BYTE pMF[] = {0x3F, 0x00};
    if (path == nullptr || ulFidsInPath == 0) {
        path = pMF;
        ulFidsInPath = 1;
    } else if (ulFidsInPath > 1 && path[0] == pMF[0] && path[1] == pMF[1]) {
        path += sizeof pMF;
        --ulFidsInPath;
    }
    if (ulFidsInPath > MAX_FIDS_IN_COMMAND) {
        return eM4Error_invalid_args;
    }
    DFEF_Path local(path, ulFidsInPath, isDF);
    long lResult = 0;
    const bool bCached = !bUncached && SelectFromCache(local, lResult);
    if (!bCached) {
        CResponseApdu response(255);
        CCommandApdu command(cla::ISO, ins::SELECT, p1::SELECT_PATH_FROM_MF, p2::SELECT_NO_ANSWER);
        lResult = Send(command.Data(path, 2 * ulFidsInPath), response);
        if (lResult != 0) {
            return AfterRefusal(*this, response, lResult);
        }
        RememberSelection(local, true);
    } else if (lResult != 0) {
        return lResult;
    }
    RecordPathSelection(path, ulFidsInPath, isDF, !bCached);
    return 0;
}

void CSCardCardOSM4::RecordPathSelection(CK_BYTE* path, CK_ULONG ulFidsInPath, CK_BBOOL isDF,
                                         bool bPhysical)
{
    m_Current_DF_path = DFEF_Path(path, isDF ? ulFidsInPath : ulFidsInPath - 1, 1);
    m_Current_EF_path = isDF ? m_Current_DF_path : DFEF_Path(path, ulFidsInPath, 0);
    m_bCurrentDFPhisicallySelected = bPhysical;
    m_bCurrentEFPhisicallySelected = !isDF && bPhysical;
}

long CSCardCardOSM4::PathSelectWORD(WORD* path, CK_ULONG ulFidsInPath, CK_BBOOL isDF)
{
    return PathSelectWORD2(path, ulFidsInPath, isDF, 0);
}

long CSCardCardOSM4::PathSelectWORD2(WORD* path, CK_ULONG ulFidsInPath, CK_BBOOL isDF,
                                     CK_BBOOL bUncached)
{
    CPathBytes bytes(path, ulFidsInPath);
    return bytes.data() == nullptr ? static_cast<long>(eM4Error_invalid_args)
                                   : PathSelect2(bytes.data(), bytes.Fids(), isDF, bUncached);
}

long CSCardCardOSM4::ForceSelectCurrentEF()
{
    DFEF_Path& path = m_Current_EF_path.m_isDF ? m_Current_DF_path : m_Current_EF_path;
    // As a DF also for an EF, on purpose: only the card has to move.
    return PathSelectWORD2(path.m_pPath, path.m_FidsInPath, 1, 1);
}

void CSCardCardOSM4::BringDFInLine()
{
    if (!m_bCurrentDFPhisicallySelected) {
        PathSelectWORD2(m_Current_DF_path.m_pPath, m_Current_DF_path.m_FidsInPath, 1, 1);
    }
}

void CSCardCardOSM4::BringFileInLine()
{
    DFEF_Path& ef = m_Current_EF_path;
    if (!m_bCurrentDFPhisicallySelected && !m_bCurrentEFPhisicallySelected) {
        PathSelectWORD2(ef.m_pPath, ef.m_FidsInPath, 0, 1);
    } else if (!m_bCurrentEFPhisicallySelected && ef.m_FidsInPath != 0) {
        SelectEx2(ef.m_pPath[ef.m_FidsInPath - 1], nullptr, eFidEF, 1);
    }
}
