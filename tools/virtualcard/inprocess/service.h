// SPDX-License-Identifier: Apache-2.0
//
// The in-process resource manager: contexts, connections, transactions and status events over one
// reader. It answers invalid handles and conflicts with the codes that pcscd gives.

#ifndef VIRTUALCARD_INPROCESS_SERVICE_H
#define VIRTUALCARD_INPROCESS_SERVICE_H

#include "inprocess/reader.h"

#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <winscard.h>

namespace vcard {

/// Safe for use by several threads. All functions return PC/SC codes. While one connection holds a
/// transaction, the others wait in every call but End and a Disconnect that leaves the card alone.
class CService {
public:
    explicit CService(const SSettings& settings) : m_reader(settings) {}

    LONG Establish(SCARDCONTEXT& hContext);
    LONG Release(SCARDCONTEXT hContext); ///< disconnects what was connected in it
    LONG CheckContext(SCARDCONTEXT hContext);
    LONG Cancel(SCARDCONTEXT hContext);

    /// The multi-string of all readers, including its final NUL.
    LONG ListReaders(SCARDCONTEXT hContext, std::string& strMulti);

    LONG Connect(SCARDCONTEXT hContext, const std::string& strReader, DWORD dwShare,
                 DWORD dwProtocols, SCARDHANDLE& hCard, DWORD& dwActive);
    LONG Reconnect(SCARDHANDLE hCard, DWORD dwShare, DWORD dwProtocols, DWORD dwInitialization,
                   DWORD& dwActive);
    LONG Disconnect(SCARDHANDLE hCard, DWORD dwDisposition);

    LONG Begin(SCARDHANDLE hCard);
    LONG End(SCARDHANDLE hCard, DWORD dwDisposition);

    struct SStatus {
        std::string strReader;
        DWORD dwState;
        DWORD dwProtocol;
        Bytes atr;
    };
    LONG Status(SCARDHANDLE hCard, SStatus& status);

    LONG Transmit(SCARDHANDLE hCard, DWORD dwProtocol, std::span<const std::uint8_t> command,
                  Bytes& answer);

    /// Fills in the events of all states.
    /// \returns SCARD_S_SUCCESS once one differs from what its owner knew, or SCARD_E_TIMEOUT
    LONG WaitForChange(SCARDCONTEXT hContext, DWORD dwTimeout, std::span<SCARD_READERSTATE> states);

private:
    struct SContext {
        bool bCancelled = false;
    };
    struct SConnection {
        SCARDCONTEXT hContext;
        bool bExclusive;
        unsigned long ulRemovals; // of the reader, as they were when it last looked
        unsigned long ulResets;
    };
    using Lock = std::unique_lock<std::mutex>;
    using Connections = std::map<SCARDHANDLE, SConnection>;

    LONG CheckCard(SCARDHANDLE hCard) const;
    LONG CheckShare(SCARDHANDLE hCard, DWORD dwShare, DWORD dwProtocols) const;
    bool Holds(SCARDHANDLE hCard) const { return m_ulHeld > 0 && m_hHolder == hCard; }
    bool HeldByOther(SCARDHANDLE hCard) const { return m_ulHeld > 0 && m_hHolder != hCard; }
    void AwaitTurn(Lock& lock, SCARDHANDLE hCard);
    void Dispose(SConnection* connection, DWORD dwDisposition);
    void Drop(Connections::iterator connection, DWORD dwDisposition);
    bool FillEvent(SCARD_READERSTATE& state) const;
    DWORD EventState() const;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    CReader m_reader;
    std::map<SCARDCONTEXT, SContext> m_contexts;
    Connections m_connections;
    long m_lLastHandle = 0;
    SCARDHANDLE m_hHolder = 0;  // of the transaction
    unsigned long m_ulHeld = 0; // how often it began without an end
};

} // namespace vcard

#endif
