// SPDX-License-Identifier: Apache-2.0
//
// Waits on a signalfd beside another file.

#include "vpcd/stopsignal.h"

#include <cerrno>
#include <csignal>
#include <poll.h>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace vcard {
namespace {

constexpr int NO_LIMIT = -1;
constexpr int NO_FILE = -1; // poll() skips it

/// False when the signal came, true when the other file can be read or the time is over.
bool Poll(int iSignals, int iOther, int iMilliseconds)
{
    pollfd files[] = {{iSignals, POLLIN, 0}, {iOther, POLLIN, 0}};
    while (poll(files, std::size(files), iMilliseconds) < 0) {
        if (errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "poll");
        }
    }
    return files[0].revents == 0;
}

} // namespace

CStopSignal::CStopSignal()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    m_iSignals = signalfd(-1, &signals, SFD_CLOEXEC);
    if (m_iSignals < 0) {
        throw std::system_error(errno, std::generic_category(), "signalfd");
    }
}

CStopSignal::~CStopSignal()
{
    close(m_iSignals);
}

bool CStopSignal::WaitFor(int iFile) const
{
    return Poll(m_iSignals, iFile, NO_LIMIT);
}

bool CStopSignal::Pause(std::chrono::milliseconds time) const
{
    return Poll(m_iSignals, NO_FILE, static_cast<int>(time.count()));
}

bool CStopSignal::Await() const
{
    return Poll(m_iSignals, NO_FILE, NO_LIMIT);
}

} // namespace vcard
