// SPDX-License-Identifier: Apache-2.0

#include "desk/session.h"

#include "cardlib/support/settings.h"
#include "desk/sized.h"
#include "pindesk/PinDesk.h"
#include "pindesk/serial.h"

namespace desk {

namespace {

constexpr SResult SERVICE_STUCK{PINDESK_NO_SERVICE, PINDESK_DETAIL_SERVICE_STUCK};
constexpr SResult STUCK{PINDESK_IN_USE, PINDESK_DETAIL_STUCK};
constexpr SResult HELD{PINDESK_IN_USE, PINDESK_DETAIL_TRANSACTION};
constexpr SResult NO_SERIAL{PINDESK_CARD_REFUSED, PINDESK_DETAIL_NO_SERIAL};

} // namespace

SResult CService::Open(CCall& call)
{
    if (m_hContext != 0) {
        return DONE;
    }
    call.Await(PINDESK_DETAIL_WAITING_FOR_SERVICE, SERVICE_STUCK);
    const LONG lCode = SCardEstablishContext(SCARD_SCOPE_USER, nullptr, nullptr, &m_hContext);
    if (lCode != SCARD_S_SUCCESS) {
        m_hContext = 0;
    }
    return ResultOfPcsc(lCode);
}

void CService::Close()
{
    if (m_hContext != 0) {
        SCardReleaseContext(m_hContext);
        m_hContext = 0;
    }
}

CSession::CSession(CCall& call, CService& service, const pindesk_reader& reader)
    : m_call(call), m_service(service), m_reader(reader), m_dialogue(call)
{
    m_identity.strAtr.assign(reader.atr, reader.atr + reader.atr_size);
}

SResult CSession::Open(DWORD dwShare)
{
    m_call.Await(PINDESK_DETAIL_WAITING_FOR_PROGRAM, m_reader.is_in_use != 0 ? HELD : STUCK);
    m_turn.emplace(m_call, m_reader.name);
    if (!m_turn->Taken()) {
        return CANCELLED;
    }
    SCARDHANDLE hCard = 0;
    DWORD dwProtocol = 0;
    const LONG lConnected =
        SCardConnect(m_service.Handle(), m_reader.name, dwShare,
                     SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1, &hCard, &dwProtocol);
    if (lConnected != SCARD_S_SUCCESS) {
        return ResultOfPcsc(lConnected);
    }
    char szName[PINDESK_READER_NAME_SIZE];
    CopyText(szName, m_reader.name, std::strlen(m_reader.name));
    m_pCard.reset(new CSCardZentaris34(m_service.Handle(), szName));
    m_pCard->Attach(hCard);
    const LONG lBegun = SCardBeginTransaction(hCard);
    m_bInTransaction = lBegun == SCARD_S_SUCCESS;
    m_call.Await(PINDESK_DETAIL_NONE, STUCK);
    return ResultOfPcsc(lBegun);
}

SResult CSession::ReadIdentity(long& lCode)
{
    char serial[pindesk::SERIAL_LENGTH + 1] = {};
    lCode = pindesk::ReadSerial(*m_pCard, serial);
    if (lCode == pindesk::result::OK) {
        m_identity.strSerial.assign(serial, pindesk::SERIAL_LENGTH);
        return DONE;
    }
    const SResult silent = WhySilent();
    return silent.Done() ? NO_SERIAL : silent;
}

long CSession::GoTo(bool bSignatureDf)
{
    if (!bSignatureDf || m_bAtSignatureDf) {
        return 0;
    }
    WORD wFid = FileId(ESetting::DsRoot);
    const long lResult = m_pCard->PathSelectWORD(&wFid, 1, 1);
    m_bAtSignatureDf = lResult == 0;
    return lResult;
}

SResult CSession::WhySilent() const
{
    BYTE atr[MAX_ATR_SIZE];
    DWORD cbAtr = sizeof atr;
    DWORD cchName = 0;
    DWORD dwState = 0;
    DWORD dwProtocol = 0;
    return ResultOfPcsc(
        SCardStatus(m_pCard->m_hCard, nullptr, &cchName, &dwState, &dwProtocol, atr, &cbAtr));
}

void CSession::Close()
{
    if (m_bInTransaction) {
        SCardEndTransaction(m_pCard->m_hCard, m_dwDisposition);
        m_bInTransaction = false;
    }
    m_pCard.reset(); // disconnects
    m_turn.reset();
}

} // namespace desk
