// SPDX-License-Identifier: Apache-2.0
//
// The readers, and the card that a call is about. Internal.

#ifndef DESK_READERS_H
#define DESK_READERS_H

#include "desk/session.h"

#include <vector>

namespace desk {

using Readers = std::vector<pindesk_reader>;

/// Lists the readers and what is in them, in the order of their slots; none is no failure.
SResult List(CCall& call, CService& service, Readers& readers);

/// Whether nothing has come or gone in a reader, as far as a list tells.
bool SameAs(const pindesk_reader& a, const pindesk_reader& b);

constexpr std::chrono::milliseconds MOMENT{200};

/// Waits until something is no longer as in the list, or the time is over. A reader that came since
/// the list was made is not noticed; a caller that goes ends a wait that is longer than a moment.
void AwaitChange(CCall& call, const CService& service, const Readers& readers,
                 Clock::duration atMost = MOMENT);

/// Looks for the card of a call, and waits for it as long as the call says. Its reader goes into
/// the report.
class CSearch {
public:
    CSearch(CCall& call, CService& service);
    /// For a card that has to come back, whatever kept it away, within the time of the call.
    /// \param heldTo  that card.
    CSearch(CCall& call, CService& service, const SIdentity& heldTo);

    /// No other card will do from now on.
    /// \param identity  must outlive the search.
    void HoldTo(const SIdentity& identity) { m_pHeldTo = &identity; }
    /// From now on a card that another program has a connection to will not do either.
    void HoldAlone() { m_dwShare = SCARD_SHARE_EXCLUSIVE; }
    /// Finds the reader alone: 0 exchanges, or 4 for each card that may have the serial number.
    SResult Find(pindesk_reader& reader);
    /// Finds the card and holds it: connected, and its serial number read.
    SResult Hold(std::unique_ptr<CSession>& session);
    /// Whether a failure may pass while the call waits for its card; then a moment has passed.
    bool MayStillCome(SResult result);

private:
    SResult Candidates(Readers& candidates);
    SResult Once(std::unique_ptr<CSession>& session);
    SResult Meet(const pindesk_reader& reader, std::unique_ptr<CSession>& session);
    bool IsWanted(const SIdentity& identity) const;
    void Report(const pindesk_reader& reader);

    CCall& m_call;
    CService& m_service;
    const SIdentity* m_pHeldTo = nullptr; ///< null: whatever the call describes
    DWORD m_dwShare = SCARD_SHARE_SHARED;
    bool m_bReturn = false; ///< the card was there, and an answer of it was lost
    Readers m_readers;
    std::optional<Clock::time_point> m_end; ///< of waiting for the card; nothing: for ever
};

} // namespace desk

#endif
