// SPDX-License-Identifier: Apache-2.0
//
// Status events: what a reader shows, and waiting until that changes.

#include "inprocess/service.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace vcard {
namespace {

constexpr DWORD COUNTER_SHIFT = 16; // pcscd counts insertions and removals in the upper half
constexpr DWORD STATE_BITS = 0xFFFF & ~static_cast<DWORD>(SCARD_STATE_CHANGED);

// What programs pass to learn of new readers. Here none ever comes.
constexpr std::string_view NEW_READERS = R"(\\?PnP?\Notification)";

} // namespace

LONG CService::Cancel(SCARDCONTEXT hContext)
{
    const Lock lock(m_mutex);
    const auto found = m_contexts.find(hContext);
    if (found == m_contexts.end()) {
        return NoHandle(hContext);
    }
    found->second.bCancelled = true;
    m_changed.notify_all();
    return SCARD_S_SUCCESS;
}

LONG CService::WaitForChange(SCARDCONTEXT hContext, DWORD dwTimeout,
                             std::span<SCARD_READERSTATE> states)
{
    using Clock = CReader::Clock;
    Lock lock(m_mutex);
    if (!m_contexts.contains(hContext)) {
        return NoHandle(hContext);
    }
    const auto known = [&](const SCARD_READERSTATE& state) {
        return state.szReader == NEW_READERS || FindSlot(state.szReader) != nullptr;
    };
    if (!std::ranges::all_of(states, known)) {
        return SCARD_E_UNKNOWN_READER;
    }
    m_contexts[hContext].bCancelled = false;
    const auto end = dwTimeout == INFINITE ? Clock::time_point::max()
                                           : Clock::now() + std::chrono::milliseconds(dwTimeout);
    for (;;) {
        if (std::ranges::count_if(states, [&](auto& state) { return FillEvent(state); }) > 0) {
            return SCARD_S_SUCCESS;
        }
        if (Clock::now() >= end) {
            return SCARD_E_TIMEOUT;
        }
        m_changed.wait_until(lock, std::min(end, NextReturn()));
        const auto context = m_contexts.find(hContext);
        if (context == m_contexts.end() && NoHandle(hContext) == SCARD_E_NO_SERVICE) {
            return SCARD_E_NO_SERVICE;
        }
        if (context == m_contexts.end() || context->second.bCancelled) {
            return SCARD_E_CANCELLED;
        }
    }
}

/// When the next card that is away comes back.
CReader::Clock::time_point CService::NextReturn() const
{
    auto next = CReader::Clock::time_point::max();
    for (const SSlot& slot : m_slots) {
        if (!slot.reader.Present()) {
            next = std::min(next, slot.reader.Back());
        }
    }
    return next;
}

/// Fills in the event; true when it differs from what the owner of the state knew.
bool CService::FillEvent(SCARD_READERSTATE& state)
{
    state.cbAtr = 0;
    state.dwEventState = SCARD_STATE_UNAWARE;
    if (state.szReader == NEW_READERS) {
        return false;
    }
    const SSlot& slot = *FindSlot(state.szReader);
    const DWORD dwEvent = EventState(slot);
    const DWORD dwKnown = state.dwCurrentState;
    const bool bCounterKnown = (dwKnown >> COUNTER_SHIFT) != 0;
    const bool bChanged = dwKnown == SCARD_STATE_UNAWARE ||
                          (dwKnown & STATE_BITS) != (dwEvent & STATE_BITS) ||
                          (bCounterKnown && dwKnown >> COUNTER_SHIFT != dwEvent >> COUNTER_SHIFT);
    state.dwEventState = dwEvent | (bChanged ? SCARD_STATE_CHANGED : 0);
    const Bytes atr = slot.reader.Present() ? slot.reader.Atr() : Bytes{};
    state.cbAtr = atr.size();
    std::copy(atr.begin(), atr.end(), state.rgbAtr);
    return bChanged;
}

DWORD CService::EventState(const SSlot& slot) const
{
    const DWORD dwCounter = (slot.reader.Movements() & 0xFFFF) << COUNTER_SHIFT;
    if (!slot.reader.Present()) {
        return dwCounter | SCARD_STATE_EMPTY;
    }
    DWORD dwUse = 0;
    for (const auto& [hCard, connection] : m_connections) {
        if (connection.pSlot == &slot) {
            dwUse |= SCARD_STATE_INUSE | (connection.bExclusive ? SCARD_STATE_EXCLUSIVE : 0UL);
        }
    }
    return dwCounter | SCARD_STATE_PRESENT | dwUse;
}

} // namespace vcard
