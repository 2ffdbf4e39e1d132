// SPDX-License-Identifier: Apache-2.0

#include "cardlib/cscard.h"

#include "cardlib/apdu.h"
#include "cardlib/binaryio.h"
#include "cardlib/pathtracking.h"
#include "cardlib/tryguard.h"
#include "cardlib/utils.h"

#include <cstring>
#include <unistd.h>

namespace {

constexpr useconds_t kRetryPause = 50000;
constexpr WORD kKnownDFs[] = {0x0000, 0x1111, 0x1112, 0xDF01, 0x1FFF, 0x2FFF};

bool IsGetResponse(const CK_BYTE* pb, DWORD cb)
{
    constexpr CK_BYTE kHeader[] = {cla::ISO, ins::GET_RESPONSE, 0x00, 0x00};
    return cb == CCommandApdu::HEADER && std::memcmp(pb, kHeader, sizeof kHeader) == 0;
}

/// The reader asks for a pause; only the low byte of its result is looked at, on purpose.
bool IsBusy(long lResult)
{
    return (lResult & 0xFF) == 0x79;
}

/// The file size in an FCI: tag 80 of two bytes inside 6F, 0 without one.
DWORD SizeInFci(CResponseApdu& response)
{
    CK_BYTE* pbFci = nullptr;
    CK_BYTE* pbSize = nullptr;
    CK_ULONG cbFci = 0;
    CK_ULONG cbSize = 0;
    if (!TLV_Validate(response.data(), response.DataLength()) ||
        !TLV_Get(tag::FCI, response.data(), response.DataLength(), &pbFci, &cbFci) ||
        !TLV_Validate(pbFci, cbFci) || !TLV_Get(tag::SIZE, pbFci, cbFci, &pbSize, &cbSize) ||
        cbSize != 2) {
        return 0;
    }
    // The low byte is taken from behind the field on purpose: hosts rely on the numbers it gives.
    return static_cast<DWORD>(pbSize[1]) * 256 + pbSize[2];
}

} // namespace

CTransact::~CTransact()
{
    if (m_hCard != 0) {
        SCardEndTransaction(m_hCard, SCARD_LEAVE_CARD);
    }
}

CSCard::CSCard(SCARDCONTEXT hContext, char* readerName)
    : m_dwActiveProtocol(0), m_readerName(), m_hCard(0), m_hContext(hContext), m_pbLastSendBuffer(),
      m_cbLastSendLength(0), m_RefCount(1), m_wholeReaderName()
{
    std::strncpy(m_readerName, readerName, sizeof m_readerName - 1);
    std::strncpy(m_wholeReaderName, readerName, sizeof m_wholeReaderName - 1);
}

CSCard::~CSCard()
{
    explicit_bzero(m_pbLastSendBuffer, sizeof m_pbLastSendBuffer);
    if (m_hCard != 0) {
        SCardDisconnect(m_hCard, SCARD_LEAVE_CARD);
        m_hCard = 0;
    }
}

void CSCard::SetSCContext(SCARDCONTEXT hContext)
{
    m_hContext = hContext;
}

long CSCard::AddRef()
{
    return ++m_RefCount;
}

long CSCard::Release()
{
    const long lCount = --m_RefCount;
    if (lCount < 1) {
        delete this;
    }
    return lCount;
}

SCARDHANDLE CSCard::Attach(SCARDHANDLE hCard)
{
    CK_BYTE atr[64];
    DWORD cbAtr = sizeof atr;
    DWORD cchReader = 0;
    DWORD dwState = 0;
    SCardStatus(hCard, nullptr, &cchReader, &dwState, &m_dwActiveProtocol, atr, &cbAtr);
    const SCARDHANDLE hPrevious = m_hCard;
    m_hCard = hCard;
    return hPrevious;
}

SCARDHANDLE CSCard::Detach()
{
    const SCARDHANDLE hCard = m_hCard;
    m_hCard = 0;
    m_dwActiveProtocol = 0;
    explicit_bzero(m_pbLastSendBuffer, sizeof m_pbLastSendBuffer);
    return hCard;
}

bool CSCard::Connect()
{
    m_dwActiveProtocol = 0;
    const long lResult =
        SCardConnect(m_hContext, m_wholeReaderName, SCARD_SHARE_SHARED,
                     SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1, &m_hCard, &m_dwActiveProtocol);
    return lResult == SCARD_S_SUCCESS && m_hCard != 0;
}

bool CSCard::isValid()
{
    char reader[1024];
    CK_BYTE atr[64];
    DWORD cchReader = sizeof reader;
    DWORD cbAtr = sizeof atr;
    DWORD dwState = 0;
    DWORD dwProtocol = 0;
    return SCardStatus(m_hCard, reader, &cchReader, &dwState, &dwProtocol, atr, &cbAtr) ==
           SCARD_S_SUCCESS;
}

const SCARD_IO_REQUEST* CSCard::SendPci() const
{
    return m_dwActiveProtocol == SCARD_PROTOCOL_T0 ? SCARD_PCI_T0 : SCARD_PCI_T1;
}

long CSCard::_SCardTransmit(SCARDHANDLE hCard, const SCARD_IO_REQUEST* pioSendPci,
                            const CK_BYTE* pbSendBuffer, DWORD cbSendLength,
                            SCARD_IO_REQUEST* pioRecvPci, CK_BYTE* pbRecvBuffer,
                            DWORD* pcbRecvLength)
{
    return SCardTransmit(hCard, pioSendPci, pbSendBuffer, cbSendLength, pioRecvPci, pbRecvBuffer,
                         pcbRecvLength);
}

long CSCard::Transmit(CK_BYTE_PTR pbSendBuffer, DWORD cbSendLength, CK_BYTE_PTR pbRecvBuffer,
                      DWORD* pcbRecvLength)
{
    if (!isValid()) {
        return session::INVALID;
    }
    if (cbSendLength > sizeof m_pbLastSendBuffer) {
        return session::BAD_ARGUMENTS;
    }
    const auto send = [&](const CK_BYTE* pb, DWORD cb) {
        *pcbRecvLength = CResponseApdu::MAX;
        return _SCardTransmit(m_hCard, SendPci(), pb, cb, nullptr, pbRecvBuffer, pcbRecvLength);
    };
    const bool bGetResponse = IsGetResponse(pbSendBuffer, cbSendLength);
    if (!bGetResponse) {
        std::memcpy(m_pbLastSendBuffer, pbSendBuffer, cbSendLength);
        m_cbLastSendLength = cbSendLength;
    }
    // The remembered command decides: a GET RESPONSE may bring it to the card again.
    const bool bOnce = SendOnlyOnce(m_pbLastSendBuffer, m_cbLastSendLength);
    for (;;) {
        const long lResult = send(pbSendBuffer, cbSendLength);
        const bool bAnswered =
            lResult == 0 && *pcbRecvLength >= 2 && *pcbRecvLength <= CResponseApdu::MAX;
        const bool b6F = bAnswered && pbRecvBuffer[*pcbRecvLength - 2] == 0x6F;
        const bool b6F00 = b6F && pbRecvBuffer[*pcbRecvLength - 1] == 0x00;
        if (bOnce || (b6F && !b6F00) || (!b6F00 && !IsBusy(lResult))) {
            return lResult;
        }
        if (!b6F00 && !bGetResponse) {
            usleep(kRetryPause);
            continue;
        }
        while (IsBusy(send(m_pbLastSendBuffer, m_cbLastSendLength))) {
            usleep(kRetryPause);
        }
    }
}

long CSCard::Send(CCommandApdu& command, CResponseApdu& response)
{
    response.Announce(CResponseApdu::MAX);
    const long lExchange =
        Transmit(command.data(), command.size(), response.data(), response.Length());
    return response.Result(lExchange);
}

long CSCard::SelectEx(WORD fid, DWORD* len, int fidType)
{
    if (!isValid()) {
        return session::INVALID;
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
        std::find(std::begin(kKnownDFs), std::end(kKnownDFs), fid) != std::end(kKnownDFs);
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
    if (!isValid()) {
        return session::INVALID;
    }
    CK_BYTE mf[] = {0x3F, 0x00};
    if (path == nullptr || ulFidsInPath == 0) {
        path = mf;
        ulFidsInPath = 1;
    }
    for (CK_ULONG i = 0; i < ulFidsInPath; ++i) {
        const auto fid = static_cast<WORD>(path[2 * i] << 8 | path[2 * i + 1]);
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
    const CPathBytes bytes(path, ulFidsInPath);
    return bytes.data() == nullptr ? session::BAD_ARGUMENTS
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
    if (!isValid()) {
        return session::INVALID;
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
    constexpr long kNotCached = -1;
    if (!m_Cache.m_bCacheSystemEnabled || !m_Cache.isCached(EfFullPath, Offset, l)) {
        return kNotCached;
    }
    CK_BYTE* pbData = nullptr;
    CK_BBOOL bPartial = 0;
    long lLength = l;
    const long lResult = m_Cache.Get(EfFullPath, Offset, lLength, pbData, bPartial);
    if (lResult != 0) {
        return lResult;
    }
    if (bPartial || pbData == nullptr) {
        return kNotCached;
    }
    std::memcpy(pBuffer, pbData, l);
    return 0;
}

long CSCard::UpdateBinary(const CK_BYTE* pData, CK_ULONG uDataLen, CK_ULONG ulOffset)
{
    if (!isValid()) {
        return session::INVALID;
    }
    if (pData == nullptr || uDataLen == 0) {
        return session::BAD_ARGUMENTS;
    }
    const auto send = [this](auto& command, auto& response) { return Send(command, response); };
    const long lResult = UpdateBinaryInPieces(send, pData, uDataLen, ulOffset);
    if (lResult == 0) {
        StoreInCache(ulOffset, uDataLen, pData);
    }
    return lResult;
}

long CSCard::GetATR(CK_BYTE_PTR pbAtr, DWORD* pdwLen)
{
    char reader[50]; // longer names are refused by PC/SC; the limit is part of the interface
    CK_BYTE scratch[1000];
    DWORD cchReader = sizeof reader;
    DWORD dwState = 0;
    DWORD dwProtocol = 0;
    if (pbAtr == nullptr) {
        *pdwLen = sizeof scratch;
        pbAtr = scratch;
    }
    return SCardStatus(m_hCard, reader, &cchReader, &dwState, &dwProtocol, pbAtr, pdwLen);
}

CFileCacheSystem& CSCard::GetFileCacheSystem()
{
    return m_Cache;
}

void CSCard::InvalidateCache()
{
    m_Cache.Clear();
}

const char* CSCard::GetModelName()
{
    return "";
}
