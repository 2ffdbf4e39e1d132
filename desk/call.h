// SPDX-License-Identifier: Apache-2.0
//
// One call: a thread that works, and the caller who waits for it, but no longer than agreed. PC/SC
// has calls that no one can end: a connection to a reader waits inside the service for another
// program's transaction. They are left to the thread. Internal.

#ifndef DESK_CALL_H
#define DESK_CALL_H

#include "desk/failure.h"
#include "desk/request.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <stop_token>
#include <thread>

namespace desk {

class CTranscript;

using Clock = std::chrono::steady_clock;

/// The readers at which calls of one desk are at work.
class CTurns {
public:
    /// Waits a moment for a reader. \return whether it is the caller's now.
    bool Take(const std::string& strReader);
    void GiveBack(const std::string& strReader);

private:
    std::mutex m_mutex;
    std::condition_variable m_givenBack;
    std::set<std::string> m_taken;
};

/// What caller and thread share of a call.
class CCall {
public:
    CCall(std::unique_ptr<SRequest> request, std::shared_ptr<CTurns> turns);

    const SRequest& Request() const { return *m_pRequest; }
    CTurns& Turns() { return *m_turns; }

    /// The thread's own until it ends.
    pindesk_report report{};

    /// Where the thread's exchanges are recorded; null: nowhere.
    std::shared_ptr<CTranscript> transcript;

    /// Writes a result and what makes sense after it into the report.
    void Tell(SResult result);

    // ---- of the thread ----

    /// Whether the caller still waits.
    bool GoOn() const;
    /// Says what is waited for now, and what the call has come to if its time is over meanwhile.
    void Await(pindesk_detail eWhat, SResult ifTooLate);
    /// The time of the call begins anew.
    void RenewTime();
    /// A secret is about to leave. \return false when the caller has gone: then it must not.
    bool Commit();
    /// Nothing has left after all.
    void Withdraw();
    /// An answer is lost; the card is asked about it. The caller waits for what is left of the
    /// time, and then takes the report as it stands here.
    void Recover();
    /// Lets a moment pass. \return GoOn().
    bool Pause();
    /// Waits until the caller has gone. \return false when it is over before that.
    bool AwaitAbandoned(const std::stop_token& over);

    // ---- of the caller ----

    using Work = std::function<void(CCall& call)>;
    using Waiting = std::function<void(const pindesk_report& soFar)>;

    /// Runs the work and waits for it.
    /// \param cancels  changes when the caller wants to stop.
    /// \return the report: the thread's, or what can be said without it.
    static pindesk_report Run(const std::shared_ptr<CCall>& call, Work work,
                              const std::atomic<unsigned>& cancels, const Waiting& waiting);

private:
    enum class EPhase { SEARCHING, COMMITTED, RECOVERING };

    /// \return no thread when there is none to be had.
    static std::thread Start(const std::shared_ptr<CCall>& self, Work work);
    bool IsTooLate(const std::atomic<unsigned>& cancels, unsigned uCancels, SResult& why) const;
    void Abandon(SResult why);
    void TellWaiting(std::unique_lock<std::mutex>& lock, const Waiting& waiting);

    const std::unique_ptr<SRequest> m_pRequest;
    const std::shared_ptr<CTurns> m_turns;
    const Clock::time_point m_start;

    mutable std::mutex m_mutex;
    std::condition_variable_any m_changed;
    EPhase m_ePhase = EPhase::SEARCHING;
    bool m_bAbandoned = false, m_bEnded = false;
    std::optional<Clock::time_point> m_end; ///< of its time
    Clock::time_point m_waitingSince, m_toldAt;
    pindesk_report m_public{}; ///< the report when the waiting began
    pindesk_detail m_eWaiting = PINDESK_DETAIL_NONE, m_eAwaited = PINDESK_DETAIL_NONE;
    SResult m_ifTooLate;
};

/// A reader for one call at a time.
class CTurn {
public:
    /// Waits until no other call of the desk is at the reader, or the caller has gone.
    CTurn(CCall& call, std::string strReader);
    ~CTurn();
    CTurn(const CTurn&) = delete;
    CTurn& operator=(const CTurn&) = delete;

    bool Taken() const { return m_bTaken; }

private:
    CTurns& m_turns;
    const std::string m_strReader;
    bool m_bTaken = false;
};

} // namespace desk

#endif
