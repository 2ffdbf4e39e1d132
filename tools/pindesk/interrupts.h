// SPDX-License-Identifier: Apache-2.0
//
// Signals while the card is at work: they end the waiting, never a command on its way, and take
// effect once the outcome has been told.

#ifndef TOOLS_PINDESK_INTERRUPTS_H
#define TOOLS_PINDESK_INTERRUPTS_H

#include "pindesk/desk.h"

#include <array>
#include <csignal>

namespace tool {

/// Turns the signals that would end the program into pindesk_cancel, and holds those that would
/// stop it; ignored ones stay so.
class CInterruptScope {
public:
    explicit CInterruptScope(pindesk_desk* desk);
    ~CInterruptScope();
    CInterruptScope(const CInterruptScope&) = delete;
    CInterruptScope& operator=(const CInterruptScope&) = delete;

private:
    static constexpr std::array SIGNALS = {SIGHUP, SIGINT, SIGQUIT, SIGTERM};
    std::array<struct sigaction, SIGNALS.size()> m_before{};
    sigset_t m_maskBefore{};
};

/// Whether such a signal came.
bool IsInterrupted();

/// Ends the program by the signal that came, if one did.
void TakeInterrupt();

} // namespace tool

#endif
