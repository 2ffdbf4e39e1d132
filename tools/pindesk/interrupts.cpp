// SPDX-License-Identifier: Apache-2.0

#include "interrupts.h"

namespace tool {

namespace {

volatile std::sig_atomic_t g_interrupt = 0;
pindesk_desk* volatile g_desk = nullptr;

void Cancel(int signal)
{
    g_interrupt = signal;
    pindesk_cancel(g_desk);
}

} // namespace

CInterruptScope::CInterruptScope(pindesk_desk* desk)
{
    g_desk = desk;
    sigset_t stops;
    sigemptyset(&stops);
    sigaddset(&stops, SIGTSTP);
    sigprocmask(SIG_BLOCK, &stops, &m_maskBefore);
    struct sigaction cancel = {};
    cancel.sa_handler = Cancel;
    cancel.sa_flags = SA_RESTART;
    for (std::size_t i = 0; i < SIGNALS.size(); ++i) {
        sigaction(SIGNALS[i], nullptr, &m_before[i]);
        if (m_before[i].sa_handler != SIG_IGN) {
            sigaction(SIGNALS[i], &cancel, nullptr);
        }
    }
}

CInterruptScope::~CInterruptScope()
{
    for (std::size_t i = 0; i < SIGNALS.size(); ++i) {
        sigaction(SIGNALS[i], &m_before[i], nullptr);
    }
    sigprocmask(SIG_SETMASK, &m_maskBefore, nullptr);
}

bool IsInterrupted()
{
    return g_interrupt != 0;
}

void TakeInterrupt()
{
    if (IsInterrupted()) {
        raise(g_interrupt);
    }
}

} // namespace tool
