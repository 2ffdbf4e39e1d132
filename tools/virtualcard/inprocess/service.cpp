// SPDX-License-Identifier: Apache-2.0
//
// Contexts, connections and transactions.

#include "inprocess/service.h"

#include <algorithm>

namespace vcard {
namespace {

// Handles are told apart from small numbers that a program made up, and from one another.
constexpr long HANDLE_BASE = 0x50440000;

constexpr SCARDHANDLE NEW_CONNECTION = 0;

} // namespace

CService::CService(const std::vector<SReaderSettings>& readers)
{
    for (const SReaderSettings& reader : readers) {
        m_slots.push_back({CReader(reader)});
    }
}

LONG CService::Establish(SCARDCONTEXT& hContext)
{
    const Lock lock(m_mutex);
    if (m_bKilled) {
        return SCARD_E_NO_SERVICE;
    }
    hContext = HANDLE_BASE + ++m_lLastHandle;
    m_contexts[hContext] = {};
    return SCARD_S_SUCCESS;
}

LONG CService::Release(SCARDCONTEXT hContext)
{
    const Lock lock(m_mutex);
    if (m_contexts.erase(hContext) == 0) {
        return NoHandle(hContext);
    }
    for (auto it = m_connections.begin(); it != m_connections.end();) {
        const auto connection = it++;
        const bool bHolds = connection->second.pSlot->HeldBy(connection->first);
        if (connection->second.hContext == hContext) {
            Drop(connection, bHolds ? SCARD_RESET_CARD : SCARD_LEAVE_CARD);
        }
    }
    return SCARD_S_SUCCESS;
}

LONG CService::CheckContext(SCARDCONTEXT hContext)
{
    const Lock lock(m_mutex);
    return m_contexts.contains(hContext) ? SCARD_S_SUCCESS : NoHandle(hContext);
}

LONG CService::ListReaders(SCARDCONTEXT hContext, std::string& strMulti)
{
    if (const LONG lResult = CheckContext(hContext); lResult != SCARD_S_SUCCESS) {
        return lResult;
    }
    if (m_slots.empty()) {
        return SCARD_E_NO_READERS_AVAILABLE;
    }
    for (const SSlot& slot : m_slots) {
        strMulti += slot.reader.Name() + '\0';
    }
    strMulti += '\0';
    return SCARD_S_SUCCESS;
}

LONG CService::Connect(SCARDCONTEXT hContext, const std::string& strReader, DWORD dwShare,
                       DWORD dwProtocols, SCARDHANDLE& hCard, DWORD& dwActive)
{
    Lock lock(m_mutex);
    if (!m_contexts.contains(hContext)) {
        return NoHandle(hContext);
    }
    SSlot* pSlot = FindSlot(strReader);
    if (pSlot == nullptr) {
        return SCARD_E_UNKNOWN_READER;
    }
    AwaitTurn(lock, *pSlot, NEW_CONNECTION);
    if (const LONG lResult = CheckShare(*pSlot, NEW_CONNECTION, dwShare, dwProtocols);
        lResult != SCARD_S_SUCCESS) {
        return lResult;
    }
    hCard = HANDLE_BASE + ++m_lLastHandle;
    dwActive = pSlot->reader.Protocol();
    m_connections[hCard] = {hContext, pSlot, dwShare == SCARD_SHARE_EXCLUSIVE,
                            pSlot->reader.Removals(), pSlot->reader.Resets()};
    return SCARD_S_SUCCESS;
}

LONG CService::Reconnect(SCARDHANDLE hCard, DWORD dwShare, DWORD dwProtocols,
                         DWORD dwInitialization, DWORD& dwActive)
{
    Lock lock(m_mutex);
    AwaitTurn(lock, hCard);
    const auto found = m_connections.find(hCard);
    if (found == m_connections.end()) {
        return NoHandle(hCard);
    }
    SConnection& connection = found->second;
    const CReader& reader = connection.pSlot->reader;
    if (const LONG lResult = CheckShare(*connection.pSlot, hCard, dwShare, dwProtocols);
        lResult != SCARD_S_SUCCESS) {
        return lResult;
    }
    Dispose(connection, dwInitialization);
    connection.bExclusive = dwShare == SCARD_SHARE_EXCLUSIVE;
    connection.ulRemovals = reader.Removals();
    connection.ulResets = reader.Resets();
    dwActive = reader.Protocol();
    return SCARD_S_SUCCESS;
}

LONG CService::Disconnect(SCARDHANDLE hCard, DWORD dwDisposition)
{
    Lock lock(m_mutex);
    if (dwDisposition != SCARD_LEAVE_CARD) {
        AwaitTurn(lock, hCard);
    }
    const auto found = m_connections.find(hCard);
    if (found == m_connections.end()) {
        return NoHandle(hCard);
    }
    Drop(found, dwDisposition);
    return SCARD_S_SUCCESS;
}

LONG CService::Begin(SCARDHANDLE hCard)
{
    Lock lock(m_mutex);
    AwaitTurn(lock, hCard);
    if (const LONG lResult = CheckCard(hCard); lResult != SCARD_S_SUCCESS) {
        return lResult;
    }
    SSlot& slot = *m_connections.at(hCard).pSlot;
    slot.hHolder = hCard;
    ++slot.ulHeld;
    return SCARD_S_SUCCESS;
}

LONG CService::End(SCARDHANDLE hCard, DWORD dwDisposition)
{
    const Lock lock(m_mutex);
    const auto found = m_connections.find(hCard);
    if (found == m_connections.end()) {
        return NoHandle(hCard);
    }
    SSlot& slot = *found->second.pSlot;
    if (slot.HeldByOther(hCard)) {
        return SCARD_E_SHARING_VIOLATION;
    }
    const bool bHeld = slot.HeldBy(hCard);
    if (bHeld) {
        --slot.ulHeld; // also when the card is gone: others must have their turn
        m_changed.notify_all();
    }
    if (const LONG lResult = CheckCard(hCard); lResult != SCARD_S_SUCCESS) {
        return lResult;
    }
    if (!bHeld) {
        return SCARD_E_NOT_TRANSACTED;
    }
    Dispose(found->second, dwDisposition);
    return SCARD_S_SUCCESS;
}

LONG CService::Status(SCARDHANDLE hCard, SStatus& status)
{
    Lock lock(m_mutex);
    AwaitTurn(lock, hCard);
    if (const LONG lResult = CheckCard(hCard); lResult != SCARD_S_SUCCESS) {
        return lResult;
    }
    const CReader& reader = m_connections.at(hCard).pSlot->reader;
    status = {reader.Name(), SCARD_PRESENT | SCARD_POWERED | SCARD_NEGOTIABLE, reader.Protocol(),
              reader.Atr()};
    return SCARD_S_SUCCESS;
}

LONG CService::Transmit(SCARDHANDLE hCard, DWORD dwProtocol, std::span<const std::uint8_t> command,
                        Bytes& answer)
{
    Lock lock(m_mutex);
    AwaitTurn(lock, hCard);
    if (const LONG lResult = CheckCard(hCard); lResult != SCARD_S_SUCCESS) {
        return lResult;
    }
    SSlot& slot = *m_connections.at(hCard).pSlot;
    if (dwProtocol != slot.reader.Protocol()) {
        return SCARD_E_PROTO_MISMATCH;
    }
    SExchange exchange = slot.reader.Transmit(command);
    answer = std::move(exchange.answer);
    return exchange.event == EEvent::NONE ? static_cast<LONG>(exchange.ulPcscError)
                                          : Play(slot, exchange.event);
}

void CService::Play(EEvent event)
{
    const Lock lock(m_mutex);
    if (!m_slots.empty()) {
        Play(m_slots.front(), event);
    }
}

void CService::Stop()
{
    const Lock lock(m_mutex);
    m_bKilled = true;
    Die();
    m_changed.notify_all();
}

nlohmann::json CService::Counters()
{
    const Lock lock(m_mutex);
    nlohmann::json counters = nlohmann::json::object();
    for (const SSlot& slot : m_slots) {
        counters[slot.reader.Name()] = slot.reader.Counters();
    }
    return counters;
}

std::size_t CService::Open()
{
    const Lock lock(m_mutex);
    const auto cHeld = std::count_if(m_slots.begin(), m_slots.end(),
                                     [](const SSlot& slot) { return slot.ulHeld > 0; });
    return m_contexts.size() + m_connections.size() + static_cast<std::size_t>(cHeld);
}

/// What a handle that leads nowhere gets: those of a dead service are told apart.
LONG CService::NoHandle(long hHandle) const
{
    const bool bDead = hHandle > HANDLE_BASE && hHandle <= HANDLE_BASE + m_lLastDead;
    return bDead ? SCARD_E_NO_SERVICE : SCARD_E_INVALID_HANDLE;
}

CService::SSlot* CService::FindSlot(std::string_view name)
{
    const auto found = std::ranges::find_if(
        m_slots, [&](const SSlot& slot) { return slot.reader.Name() == name; });
    return found == m_slots.end() ? nullptr : &*found;
}

/// Whether a connection can be used: it exists, and its card was neither removed nor reset by
/// another.
LONG CService::CheckCard(SCARDHANDLE hCard) const
{
    const auto found = m_connections.find(hCard);
    if (found == m_connections.end()) {
        return NoHandle(hCard);
    }
    const SConnection& connection = found->second;
    if (connection.ulRemovals != connection.pSlot->reader.Removals()) {
        return SCARD_W_REMOVED_CARD;
    }
    return connection.ulResets == connection.pSlot->reader.Resets() ? SCARD_S_SUCCESS
                                                                    : SCARD_W_RESET_CARD;
}

/// Whether the card can be used in the way that connection \p hCard, or a new one, asks for.
LONG CService::CheckShare(const SSlot& slot, SCARDHANDLE hCard, DWORD dwShare,
                          DWORD dwProtocols) const
{
    if (dwShare != SCARD_SHARE_SHARED && dwShare != SCARD_SHARE_EXCLUSIVE) {
        return SCARD_E_INVALID_VALUE; // there is no reader to talk to directly
    }
    const bool bConflict = std::ranges::any_of(m_connections, [&](const auto& entry) {
        return entry.first != hCard && entry.second.pSlot == &slot &&
               (dwShare == SCARD_SHARE_EXCLUSIVE || entry.second.bExclusive);
    });
    if (bConflict) {
        return SCARD_E_SHARING_VIOLATION;
    }
    if (!slot.reader.Present()) {
        return SCARD_E_NO_SMARTCARD;
    }
    return (dwProtocols & slot.reader.Protocol()) == 0 ? SCARD_E_PROTO_MISMATCH : SCARD_S_SUCCESS;
}

/// Waits while another connection holds a transaction. A handle that is none does not wait.
void CService::AwaitTurn(Lock& lock, const SSlot& slot, SCARDHANDLE hCard)
{
    m_changed.wait(lock, [&] {
        return !slot.HeldByOther(hCard) ||
               (hCard != NEW_CONNECTION && !m_connections.contains(hCard));
    });
}

void CService::AwaitTurn(Lock& lock, SCARDHANDLE hCard)
{
    if (const auto found = m_connections.find(hCard); found != m_connections.end()) {
        AwaitTurn(lock, *found->second.pSlot, hCard);
    }
}

/// Lets an event happen; what an exchange in which it happens comes to.
LONG CService::Play(SSlot& slot, EEvent event)
{
    slot.reader.Play(event);
    m_changed.notify_all();
    switch (event) {
    case EEvent::RESET:
        return SCARD_W_RESET_CARD;
    case EEvent::KILLED:
    case EEvent::RESTARTED:
        Die();
        m_bKilled = event == EEvent::KILLED;
        return SCARD_F_COMM_ERROR;
    default:
        return SCARD_S_SUCCESS; // as pcscd has it: an answer without a byte
    }
}

/// All handles lose their meaning.
void CService::Die()
{
    m_contexts.clear();
    m_connections.clear();
    m_lLastDead = m_lLastHandle;
    for (SSlot& slot : m_slots) {
        slot.ulHeld = 0;
    }
}

/// Leaves or resets the card. The connection that asks for the reset is not surprised by it.
void CService::Dispose(SConnection& connection, DWORD dwDisposition)
{
    CReader& reader = connection.pSlot->reader;
    if (dwDisposition == SCARD_LEAVE_CARD || !reader.Present()) {
        return;
    }
    reader.Reset();
    if (connection.ulResets + 1 == reader.Resets()) {
        connection.ulResets = reader.Resets();
    }
}

/// Ends a connection and the transaction it may hold.
void CService::Drop(Connections::iterator connection, DWORD dwDisposition)
{
    SSlot& slot = *connection->second.pSlot;
    if (slot.HeldBy(connection->first)) {
        slot.ulHeld = 0;
    }
    Dispose(connection->second, dwDisposition);
    m_connections.erase(connection);
    m_changed.notify_all();
}

} // namespace vcard
