// SPDX-License-Identifier: Apache-2.0
//
// The in-process resource manager: contexts, connections, transactions and status events over a
// few readers. It answers invalid handles and conflicts with the codes that pcscd gives.

#ifndef TOOLS_VIRTUALCARD_INPROCESS_SERVICE_H
#define TOOLS_VIRTUALCARD_INPROCESS_SERVICE_H

#include "inprocess/reader.h"

#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string_view>
#include <winscard.h>

namespace vcard {

/// Safe for use by several threads. All functions return PC/SC codes. While one connection holds a
/// transaction, the others to its card wait in every call but End and a Disconnect that leaves the
/// card alone.
class CService {
public:
    explicit CService(const std::vector<SReaderSettings>& readers);

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

    /// Lets something happen between two calls, to the first reader or to the service.
    void Play(EEvent event);

    /// Ends it for good, and the waiting inside it.
    void Stop();

    /// Of the cards, by the names of their readers.
    nlohmann::json Counters();

    /// Contexts, connections and transactions that are open.
    std::size_t Open();

private:
    struct SSlot {
        CReader reader;
        SCARDHANDLE hHolder = 0;  // of the transaction
        unsigned long ulHeld = 0; // how often it began without an end

        bool HeldBy(SCARDHANDLE hCard) const { return ulHeld > 0 && hHolder == hCard; }
        bool HeldByOther(SCARDHANDLE hCard) const { return ulHeld > 0 && hHolder != hCard; }
    };
    struct SContext {
        bool bCancelled = false;
    };
    struct SConnection {
        SCARDCONTEXT hContext;
        SSlot* pSlot;
        bool bExclusive;
        unsigned long ulRemovals; // of the reader, as they were when it last looked
        unsigned long ulResets;
    };
    using Lock = std::unique_lock<std::mutex>;
    using Connections = std::map<SCARDHANDLE, SConnection>;

    LONG NoHandle(long hHandle) const;
    SSlot* FindSlot(std::string_view name);
    LONG CheckCard(SCARDHANDLE hCard) const;
    LONG CheckShare(const SSlot& slot, SCARDHANDLE hCard, DWORD dwShare, DWORD dwProtocols) const;
    void AwaitTurn(Lock& lock, const SSlot& slot, SCARDHANDLE hCard);
    void AwaitTurn(Lock& lock, SCARDHANDLE hCard);
    LONG Play(SSlot& slot, EEvent event);
    void Die();
    static void Dispose(SConnection& connection, DWORD dwDisposition);
    void Drop(Connections::iterator connection, DWORD dwDisposition);
    bool FillEvent(SCARD_READERSTATE& state);
    DWORD EventState(const SSlot& slot) const;
    CReader::Clock::time_point NextReturn() const;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<SSlot> m_slots;
    std::map<SCARDCONTEXT, SContext> m_contexts;
    Connections m_connections;
    long m_lLastHandle = 0;
    long m_lLastDead = 0; // the handles up to this one died with a service
    bool m_bKilled = false;
};

} // namespace vcard

#endif
