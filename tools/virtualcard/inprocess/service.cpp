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

LONG CService::Establish(SCARDCONTEXT& hContext)
{
    const Lock lock(m_mutex);
    hContext = HANDLE_BASE + ++m_lLastHandle;
    m_contexts[hContext] = {};
    return SCARD_S_SUCCESS;
}

LONG CService::Release(SCARDCONTEXT hContext)
{
    const Lock lock(m_mutex);
    if (m_contexts.erase(hContext) == 0) {
        return SCARD_E_INVALID_HANDLE;
    }
    for (auto it = m_connections.begin(); it != m_connections.end();) {
        const auto connection = it++;
        if (connection->second.hContext == hContext) {
            Drop(connection, Holds(connection->first) ? SCARD_RESET_CARD : SCARD_LEAVE_CARD);
        }
    }
    return SCARD_S_SUCCESS;
}

LONG CService::CheckContext(SCARDCONTEXT hContext)
{
    const Lock lock(m_mutex);
    return m_contexts.contains(hContext) ? SCARD_S_SUCCESS : SCARD_E_INVALID_HANDLE;
}

LONG CService::ListReaders(SCARDCONTEXT hContext, std::string& strMulti)
{
    if (const LONG lResult = CheckContext(hContext); lResult != SCARD_S_SUCCESS) {
        return lResult;
    }
    if (!m_reader.Exists()) {
        return SCARD_E_NO_READERS_AVAILABLE;
    }
    strMulti = m_reader.Name() + std::string(2, '\0');
    return SCARD_S_SUCCESS;
}

LONG CService::Connect(SCARDCONTEXT hContext, const std::string& strReader, DWORD dwShare,
                       DWORD dwProtocols, SCARDHANDLE& hCard, DWORD& dwActive)
{
    Lock lock(m_mutex);
    if (!m_contexts.contains(hContext)) {
        return SCARD_E_INVALID_HANDLE;
    }
    if (!m_reader.Exists() || strReader != m_reader.Name()) {
        return SCARD_E_UNKNOWN_READER;
    }
    AwaitTurn(lock, NEW_CONNECTION);
    if (const LONG lResult = CheckShare(NEW_CONNECTION, dwShare, dwProtocols);
        lResult != SCARD_S_SUCCESS) {
        return lResult;
    }
    hCard = HANDLE_BASE + ++m_lLastHandle;
    dwActive = m_reader.Protocol();
    m_connections[hCard] = {hContext, dwShare == SCARD_SHARE_EXCLUSIVE, m_reader.Removals(),
                            m_reader.Resets()};
    return SCARD_S_SUCCESS;
}

LONG CService::Reconnect(SCARDHANDLE hCard, DWORD dwShare, DWORD dwProtocols,
                         DWORD dwInitialization, DWORD& dwActive)
{
    Lock lock(m_mutex);
    AwaitTurn(lock, hCard);
    const auto found = m_connections.find(hCard);
    if (found == m_connections.end()) {
        return SCARD_E_INVALID_HANDLE;
    }
    if (const LONG lResult = CheckShare(hCard, dwShare, dwProtocols); lResult != SCARD_S_SUCCESS) {
        return lResult;
    }
    Dispose(&found->second, dwInitialization);
    found->second.bExclusive = dwShare == SCARD_SHARE_EXCLUSIVE;
    found->second.ulRemovals = m_reader.Removals();
    found->second.ulResets = m_reader.Resets();
    dwActive = m_reader.Protocol();
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
        return SCARD_E_INVALID_HANDLE;
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
    m_hHolder = hCard;
    ++m_ulHeld;
    return SCARD_S_SUCCESS;
}

LONG CService::End(SCARDHANDLE hCard, DWORD dwDisposition)
{
    const Lock lock(m_mutex);
    if (HeldByOther(hCard) && m_connections.contains(hCard)) {
        return SCARD_E_SHARING_VIOLATION;
    }
    const bool bHeld = Holds(hCard);
    if (bHeld) {
        --m_ulHeld; // also when the card is gone: others must have their turn
        m_changed.notify_all();
    }
    if (const LONG lResult = CheckCard(hCard); lResult != SCARD_S_SUCCESS) {
        return lResult;
    }
    if (!bHeld) {
        return SCARD_E_NOT_TRANSACTED;
    }
    Dispose(&m_connections.at(hCard), dwDisposition);
    return SCARD_S_SUCCESS;
}

LONG CService::Status(SCARDHANDLE hCard, SStatus& status)
{
    Lock lock(m_mutex);
    AwaitTurn(lock, hCard);
    if (const LONG lResult = CheckCard(hCard); lResult != SCARD_S_SUCCESS) {
        return lResult;
    }
    status = {m_reader.Name(), SCARD_PRESENT | SCARD_POWERED | SCARD_NEGOTIABLE,
              m_reader.Protocol(), m_reader.Atr()};
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
    if (dwProtocol != m_reader.Protocol()) {
        return SCARD_E_PROTO_MISMATCH;
    }
    const LONG lResult = m_reader.Transmit(command, answer);
    m_changed.notify_all(); // it may have removed the card
    return lResult;
}

/// Whether a connection can be used: it exists, and its card was neither removed nor reset by
/// another.
LONG CService::CheckCard(SCARDHANDLE hCard) const
{
    const auto found = m_connections.find(hCard);
    if (found == m_connections.end()) {
        return SCARD_E_INVALID_HANDLE;
    }
    if (found->second.ulRemovals != m_reader.Removals()) {
        return SCARD_W_REMOVED_CARD;
    }
    return found->second.ulResets == m_reader.Resets() ? SCARD_S_SUCCESS : SCARD_W_RESET_CARD;
}

/// Whether the card can be used in the way that connection \p hCard, or a new one, asks for.
LONG CService::CheckShare(SCARDHANDLE hCard, DWORD dwShare, DWORD dwProtocols) const
{
    if (dwShare != SCARD_SHARE_SHARED && dwShare != SCARD_SHARE_EXCLUSIVE) {
        return SCARD_E_INVALID_VALUE; // there is no reader to talk to directly
    }
    const bool bConflict = std::ranges::any_of(m_connections, [&](const auto& entry) {
        return entry.first != hCard &&
               (dwShare == SCARD_SHARE_EXCLUSIVE || entry.second.bExclusive);
    });
    if (bConflict) {
        return SCARD_E_SHARING_VIOLATION;
    }
    if (!m_reader.Present()) {
        return SCARD_E_NO_SMARTCARD;
    }
    return (dwProtocols & m_reader.Protocol()) == 0 ? SCARD_E_PROTO_MISMATCH : SCARD_S_SUCCESS;
}

/// Waits while another connection holds a transaction. A handle that is none does not wait.
void CService::AwaitTurn(Lock& lock, SCARDHANDLE hCard)
{
    m_changed.wait(lock, [&] {
        return !HeldByOther(hCard) || (hCard != NEW_CONNECTION && !m_connections.contains(hCard));
    });
}

/// Leaves or resets the card. The connection that asks for the reset is not surprised by it.
void CService::Dispose(SConnection* connection, DWORD dwDisposition)
{
    if (dwDisposition == SCARD_LEAVE_CARD || !m_reader.Present()) {
        return;
    }
    m_reader.Reset();
    if (connection->ulResets + 1 == m_reader.Resets()) {
        connection->ulResets = m_reader.Resets();
    }
}

/// Ends a connection and the transaction it may hold.
void CService::Drop(Connections::iterator connection, DWORD dwDisposition)
{
    if (Holds(connection->first)) {
        m_ulHeld = 0;
    }
    Dispose(&connection->second, dwDisposition);
    m_connections.erase(connection);
    m_changed.notify_all();
}

} // namespace vcard
