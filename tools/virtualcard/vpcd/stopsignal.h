// SPDX-License-Identifier: Apache-2.0
//
// SIGTERM and SIGINT as something to wait for, so that the program ends between two commands and
// never in the middle of one.

#ifndef TOOLS_VIRTUALCARD_VPCD_STOPSIGNAL_H
#define TOOLS_VIRTUALCARD_VPCD_STOPSIGNAL_H

#include <chrono>

namespace vcard {

class CStopSignal {
public:
    /// Blocks both signals for the process; they only end the waits below from now on.
    /// \throws std::system_error
    CStopSignal();
    ~CStopSignal();
    CStopSignal(const CStopSignal&) = delete;
    CStopSignal& operator=(const CStopSignal&) = delete;

    /// Waits until \p iFile can be read. False when asked to stop.
    bool WaitFor(int iFile) const;

    /// Waits that long. False when asked to stop.
    bool Pause(std::chrono::milliseconds time) const;

    /// Waits until asked to stop; always false.
    bool Await() const;

private:
    int m_iSignals;
};

} // namespace vcard

#endif
