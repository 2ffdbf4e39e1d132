// SPDX-License-Identifier: Apache-2.0
//
// The base session: its life, its handle, and the place from which commands leave.

#include "cardlib/cscard.h"

#include "cardlib/sessions/apdu.h"
#include "cardlib/sessions/boundcard.h"
#include "cardlib/sessions/position.h"
#include "cardlib/sessions/tryguard.h"
#include "cardlib/support/bigendian.h"
#include "cardlib/support/careful.h"
#include "cardlib/support/exchanges.h"

#include <climits>
#include <cstring>
#include <unistd.h>
#include <utility>

namespace {

constexpr useconds_t RETRY_PAUSE = 50000;

bool IsGetResponse(const CK_BYTE* pb, DWORD cb)
{
    constexpr CK_BYTE HEADER_BYTES[] = {cla::ISO, ins::GET_RESPONSE, 0x00, 0x00};
    return cb == CCommandApdu::HEADER && std::memcmp(pb, HEADER_BYTES, sizeof HEADER_BYTES) == 0;
}

/// The reader asks for a pause; only the low byte of its result is looked at, on purpose.
bool IsBusy(long lResult)
{
    return (lResult & 0xFF) == 0x79;
}

bool IsUndiagnosed(const CK_BYTE* pbAnswer, DWORD cbAnswer)
{
    return cbAnswer >= 2 && cbAnswer <= CResponseApdu::MAX &&
           BigEndian(pbAnswer + cbAnswer - 2) == sw::NO_DIAGNOSIS;
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
    if (readerName != nullptr) {
        std::strncpy(m_readerName, readerName, sizeof m_readerName - 1);
        std::strncpy(m_wholeReaderName, readerName, sizeof m_wholeReaderName - 1);
    }
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
    if (hCard != m_hCard) {
        ForgetCard(*this);
    }
    return std::exchange(m_hCard, hCard);
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
    if (pbSendBuffer == nullptr || pbRecvBuffer == nullptr || pcbRecvLength == nullptr) {
        return SCARD_E_INVALID_PARAMETER; // as the service would say
    }
    CExchangeWatch* const pWatch = CExchangeWatch::Now();
    if (pWatch != nullptr && !pWatch->MayLeave(pbSendBuffer, cbSendLength)) {
        return SCARD_E_CANCELLED;
    }
    const DWORD cbCapacity = *pcbRecvLength;
    const LONG lResult = SCardTransmit(hCard, pioSendPci, pbSendBuffer, cbSendLength, pioRecvPci,
                                       pbRecvBuffer, pcbRecvLength);
    if (pWatch != nullptr) {
        const bool bAnswered = lResult == SCARD_S_SUCCESS && *pcbRecvLength <= cbCapacity;
        pWatch->CameBack(lResult, pbRecvBuffer, bAnswered ? *pcbRecvLength : 0);
    }
    return lResult;
}

long CSCard::Transmit(CK_BYTE_PTR pbSendBuffer, DWORD cbSendLength, CK_BYTE_PTR pbRecvBuffer,
                      DWORD* pcbRecvLength)
{
    if (pbSendBuffer == nullptr || pbRecvBuffer == nullptr || pcbRecvLength == nullptr) {
        return refusal::MISSING_ARGUMENT;
    }
    if (!CBoundCard::ForExchange(*this)) {
        return refusal::NO_CARD;
    }
    if (cbSendLength > sizeof m_pbLastSendBuffer) {
        return refusal::BAD_ARGUMENTS;
    }
    const bool bGetResponse = IsGetResponse(pbSendBuffer, cbSendLength);
    if (!bGetResponse) {
        std::memcpy(m_pbLastSendBuffer, pbSendBuffer, cbSendLength);
        explicit_bzero(m_pbLastSendBuffer + cbSendLength, sizeof m_pbLastSendBuffer - cbSendLength);
        m_cbLastSendLength = cbSendLength;
    }
    const auto send = [&](const CK_BYTE* pb, DWORD cb) {
        *pcbRecvLength = CResponseApdu::MAX;
        return _SCardTransmit(m_hCard, SendPci(), pb, cb, nullptr, pbRecvBuffer, pcbRecvLength);
    };
    // The remembered command decides: a GET RESPONSE may bring it to the card again.
    const bool bOnce = SendOnlyOnce(m_pbLastSendBuffer, m_cbLastSendLength);
    const int iMost = bOnce ? 1 : CCareful::Now() ? SEND_ATTEMPTS : INT_MAX;
    bool bRemembered = false; // the remembered command goes out in place of this one
    for (int i = 1;; ++i) {
        const long lResult = bRemembered ? send(m_pbLastSendBuffer, m_cbLastSendLength)
                                         : send(pbSendBuffer, cbSendLength);
        const bool bBusy = IsBusy(lResult);
        const bool b6F00 =
            !bRemembered && lResult == 0 && IsUndiagnosed(pbRecvBuffer, *pcbRecvLength);
        if ((!bRemembered && !bBusy && !b6F00) || i == iMost) {
            return lResult;
        }
        if (bBusy && (bRemembered || !bGetResponse)) {
            usleep(RETRY_PAUSE);
        }
        bRemembered = bRemembered ? bBusy : b6F00 || bGetResponse;
    }
}

long CSCard::Send(CCommandApdu& command, CResponseApdu& response)
{
    response.Announce(CResponseApdu::MAX);
    const long lExchange =
        Transmit(command.data(), command.size(), response.data(), response.Length());
    return response.Result(lExchange);
}

long CSCard::GetATR(CK_BYTE_PTR pbAtr, DWORD* pdwLen)
{
    if (pdwLen == nullptr) {
        return refusal::MISSING_ARGUMENT;
    }
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
