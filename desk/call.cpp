// SPDX-License-Identifier: Apache-2.0

#include "desk/call.h"

#include "desk/holders.h"
#include "desk/sized.h"

#include <csignal>
#include <dlfcn.h>
#include <system_error>
#include <thread>

namespace desk {

namespace {

constexpr std::chrono::milliseconds TICK{50};
constexpr std::chrono::milliseconds TO_LET_GO{500}; // for a thread that is not stuck
constexpr std::chrono::seconds BEFORE_FIRST_NOTE{2}, BETWEEN_NOTES{1};

/// A new thread inherits the signals that are blocked: those of the host are not for ours.
class CBlockedSignals {
public:
    CBlockedSignals()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~CBlockedSignals() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    CBlockedSignals(const CBlockedSignals&) = delete;
    CBlockedSignals& operator=(const CBlockedSignals&) = delete;

private:
    sigset_t m_before;
};

/// A thread is left behind in this library: it must not be unloaded any more.
void StayLoaded()
{
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(&StayLoaded), &info) != 0) {
        dlopen(info.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
    }
}

std::int32_t Milliseconds(Clock::duration duration)
{
    return static_cast<std::int32_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(duration).count());
}

} // namespace

bool CTurns::Take(const std::string& strReader)
{
    std::unique_lock lock(m_mutex);
    return m_givenBack.wait_for(lock, TICK, [&] { return m_taken.insert(strReader).second; });
}

void CTurns::GiveBack(const std::string& strReader)
{
    const std::lock_guard lock(m_mutex);
    m_taken.erase(strReader);
    m_givenBack.notify_all();
}

CTurn::CTurn(CCall& call, std::string strReader)
    : m_turns(call.Turns()), m_strReader(std::move(strReader))
{
    do {
        m_bTaken = m_turns.Take(m_strReader);
    } while (!m_bTaken && call.GoOn());
}

CTurn::~CTurn()
{
    if (m_bTaken) {
        m_turns.GiveBack(m_strReader);
    }
}

namespace {

bool SetsAValue(pindesk_operation eOperation)
{
    return eOperation != PINDESK_OP_LOOK && eOperation != PINDESK_OP_VERIFY &&
           eOperation != PINDESK_OP_LOCK;
}

} // namespace

CCall::CCall(std::unique_ptr<SRequest> request, std::shared_ptr<CTurns> turns)
    : m_pRequest(std::move(request)), m_turns(std::move(turns)), m_start(Clock::now())
{
    report.size = sizeof report;
    report.operation = m_pRequest->eOperation;
    report.secret = m_pRequest->eSecret;
    report.target = m_pRequest->eTarget;
    report.tries_before = report.tries_left = report.status_word = -1;
    report.code = PINDESK_NO_CODE;
    report.notes = m_pRequest->Wants(PINDESK_ANY_CHARACTERS) ? PINDESK_NOTE_ANY_CHARACTERS : 0;
    report.in_force = SetsAValue(report.operation) ? PINDESK_IN_FORCE_OLD // until it is done
                                                   : PINDESK_IN_FORCE_NOT_CONCERNED;
    m_public = report;
    RenewTime();
}

void CCall::Tell(SResult result)
{
    report.outcome = result.eOutcome;
    report.detail = result.eDetail;
    report.next = NextAfter(result);
}

bool CCall::GoOn() const
{
    const std::lock_guard lock(m_mutex);
    return !m_bAbandoned;
}

void CCall::Await(pindesk_detail eWhat, SResult ifTooLate)
{
    const std::lock_guard lock(m_mutex);
    if (eWhat != PINDESK_DETAIL_NONE && eWhat != m_eAwaited) { // a look in between ends no waiting
        m_waitingSince = Clock::now();
        m_eAwaited = eWhat;
    }
    m_eWaiting = eWhat;
    m_ifTooLate = ifTooLate;
    if (m_ePhase == EPhase::SEARCHING && !m_bAbandoned) { // else it is told already
        m_public = report;
    }
}

void CCall::RenewTime()
{
    const std::lock_guard lock(m_mutex);
    m_end.reset();
    if (m_pRequest->timeout) {
        m_end = Clock::now() + *m_pRequest->timeout;
    }
}

bool CCall::Commit()
{
    const std::lock_guard lock(m_mutex);
    if (!m_bAbandoned) {
        m_ePhase = EPhase::COMMITTED;
    }
    return !m_bAbandoned;
}

void CCall::Withdraw()
{
    RenewTime();
    const std::lock_guard lock(m_mutex);
    m_ePhase = EPhase::SEARCHING;
}

void CCall::Recover()
{
    RenewTime();
    const std::lock_guard lock(m_mutex);
    m_ePhase = EPhase::RECOVERING;
    m_public = report;
}

bool CCall::Pause()
{
    std::this_thread::sleep_for(TICK);
    return GoOn();
}

bool CCall::AwaitAbandoned(const std::stop_token& over)
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, over, [this] { return m_bAbandoned; });
    return !over.stop_requested();
}

std::thread CCall::Start(const std::shared_ptr<CCall>& self, Work work)
{
    const CBlockedSignals blocked;
    try {
        return std::thread([self, work = std::move(work)]() mutable {
            try {
                work(*self);
            } catch (const std::exception&) {
                self->Tell(NO_MEMORY);
            }
            work = nullptr; // what it holds goes before the caller goes on
            const std::lock_guard lock(self->m_mutex);
            self->m_bEnded = true;
            self->m_changed.notify_all();
        });
    } catch (const std::system_error&) {
        return {};
    }
}

bool CCall::IsTooLate(const std::atomic<unsigned>& cancels, unsigned uCancels, SResult& why) const
{
    if (m_ePhase == EPhase::COMMITTED) {
        return false;
    }
    if (m_ePhase == EPhase::SEARCHING && cancels.load() != uCancels) {
        why = CANCELLED;
        return true;
    }
    why = m_ifTooLate;
    return m_end && Clock::now() >= *m_end;
}

void CCall::Abandon(SResult why)
{
    m_bAbandoned = true;
    m_changed.notify_all();
    m_pRequest->Wipe(); // the thread reads them only after Commit(), which now refuses
    if (m_ePhase == EPhase::SEARCHING) {
        m_public.outcome = why.eOutcome;
        m_public.detail = why.eDetail;
        m_public.next = NextAfter(why);
    }
}

void CCall::TellWaiting(std::unique_lock<std::mutex>& lock, const Waiting& waiting)
{
    const auto now = Clock::now();
    if (!waiting || m_eWaiting == PINDESK_DETAIL_NONE || m_ePhase == EPhase::COMMITTED ||
        now < m_waitingSince + BEFORE_FIRST_NOTE || now < m_toldAt + BETWEEN_NOTES) {
        return;
    }
    m_toldAt = now;
    pindesk_report soFar = m_public;
    soFar.detail = m_eWaiting;
    soFar.milliseconds = Milliseconds(now - m_start);
    lock.unlock();
    FillInHolders(soFar.holders);
    waiting(soFar);
    lock.lock();
}

pindesk_report CCall::Run(const std::shared_ptr<CCall>& call, Work work,
                          const std::atomic<unsigned>& cancels, const Waiting& waiting)
{
    const unsigned uCancels = cancels.load();
    std::thread thread = Start(call, std::move(work));
    if (!thread.joinable()) {
        call->Tell(NO_MEMORY);
        return call->report;
    }
    std::unique_lock lock(call->m_mutex);
    SResult why;
    while (!call->m_changed.wait_for(lock, TICK, [&] { return call->m_bEnded; })) {
        if (call->IsTooLate(cancels, uCancels, why)) {
            call->Abandon(why);
            if (!call->m_changed.wait_for(lock, TO_LET_GO, [&] { return call->m_bEnded; })) {
                StayLoaded();
            }
            break;
        }
        call->TellWaiting(lock, waiting);
    }
    const bool bTheThreads =
        call->m_bEnded && !(call->m_bAbandoned && call->m_ePhase == EPhase::SEARCHING);
    pindesk_report report = bTheThreads ? call->report : call->m_public;
    const bool bEnded = call->m_bEnded;
    lock.unlock();
    if (bEnded) {
        thread.join(); // what libraries keep for a thread goes with it
    } else {
        thread.detach();
    }
    report.milliseconds = Milliseconds(Clock::now() - call->m_start);
    if (report.code == PINDESK_NO_CODE) {
        report.code = CodeOf({report.outcome, report.detail});
    }
    if (report.outcome == PINDESK_IN_USE) {
        FillInHolders(report.holders);
    }
    return report;
}

} // namespace desk
