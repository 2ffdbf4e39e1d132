// SPDX-License-Identifier: Apache-2.0
//
// Somebody who looks on while a thread talks to a card: counts, times, and may hold a command back
// before it leaves. Internal.

#ifndef CARDLIB_SUPPORT_EXCHANGES_H
#define CARDLIB_SUPPORT_EXCHANGES_H

#include <cstddef>
#include <cstdint>

/// Watches the exchanges of the thread that made it, until the end of its life. One at a time and
/// thread. Neither function may throw, keep the bytes, or talk to the card.
class CExchangeWatch {
public:
    CExchangeWatch() { t_pNow = this; }
    virtual ~CExchangeWatch() { t_pNow = nullptr; }
    CExchangeWatch(const CExchangeWatch&) = delete;
    CExchangeWatch& operator=(const CExchangeWatch&) = delete;

    /// Before a command leaves, as it will reach the card. \return whether it may.
    virtual bool MayLeave(const std::uint8_t* pbCommand, std::size_t cbCommand) noexcept = 0;
    /// What came of it.
    /// \param lResult  of SCardTransmit; the answer is empty where it failed.
    virtual void CameBack(long lResult, const std::uint8_t* pbAnswer,
                          std::size_t cbAnswer) noexcept = 0;

    /// The watch of this thread, or null.
    static CExchangeWatch* Now() { return t_pNow; }

private:
    static thread_local CExchangeWatch* t_pNow;
};

#endif
