// SPDX-License-Identifier: Apache-2.0
//
// The desk as the command line wants it: its keys, the options of every call, and what happens when
// a call fails.

#ifndef TOOLS_PINDESK_CLIENT_H
#define TOOLS_PINDESK_CLIENT_H

#include "interrupts.h"
#include "options.h"
#include "outcome.h"

#include <memory>
#include <vector>

namespace tool {

/// A visitor of the desk that keeps what it is shown.
/// \param things  a vector of them.
template <typename Thing> int Collect(const Thing* thing, void* things)
{
    static_cast<std::vector<Thing>*>(things)->push_back(*thing);
    return 0;
}

class CClient {
public:
    /// \throws CFailure when a key file is no use.
    explicit CClient(const Options& options);
    CClient(const CClient&) = delete;
    CClient& operator=(const CClient&) = delete;

    /// Calls a function of the desk: desk, what it asks for, options, what it fills in, report.
    /// \return the report of a success.
    /// \throws CFailure on everything else.
    template <typename Function> pindesk_report Call(Function function)
    {
        pindesk_report report{};
        report.size = sizeof report;
        {
            const CInterruptScope scope(m_desk.get());
            function(m_desk.get(), &m_call, &report);
        }
        if (report.outcome != PINDESK_DONE) {
            Fail(report);
        }
        return report;
    }

    /// Later calls use no other card than that of a report.
    void HoldTo(const pindesk_report& report);

private:
    struct Closer {
        void operator()(pindesk_desk* desk) const { pindesk_close(desk); }
    };

    void Load(pindesk_key key, const char* option, const std::string& path);
    [[noreturn]] void Fail(const pindesk_report& report);

    static void Waiting(const pindesk_report* soFar, void* context);

    const Options& m_options;
    std::unique_ptr<pindesk_desk, Closer> m_desk;
    std::string m_serial;
    pindesk_options m_call{};
    pindesk_detail m_awaited = PINDESK_DETAIL_NONE; ///< what was last said to be waited for
};

} // namespace tool

#endif
