// SPDX-License-Identifier: Apache-2.0
//
// What every function of desk.h that talks to a card has in common. Internal.

#ifndef DESK_DOOR_H
#define DESK_DOOR_H

#include "desk/call.h"

struct pindesk_desk {
    std::atomic<unsigned> cancels{0};
    std::shared_ptr<desk::CTurns> turns = std::make_shared<desk::CTurns>();
    std::mutex keyMutex;
    desk::CKey smKey, adminKey;
};

namespace desk {

/// Takes the values of a call into its request, and refuses what needs no card to be refused.
using Prepare = std::function<SResult(SRequest& request, pindesk_report& report)>;

/// Runs one call: options, keys, thread, report.
/// \param prepare  may be empty.
/// \return the outcome, which is the report's.
pindesk_outcome Serve(pindesk_desk* pDesk, const pindesk_options* pOptions, pindesk_report* pReport,
                      pindesk_operation eOperation, const Prepare& prepare, CCall::Work work);

/// Whether a caller's report can be filled in.
bool HasSize(const pindesk_report* pReport);

/// A report in which nothing is known yet.
pindesk_report EmptyReport();

/// The report of a call that ends before it begins.
pindesk_outcome Refuse(SResult result, pindesk_report* pReport);

/// Runs what must let no exception out. \return NO_MEMORY's outcome after one.
template <class Body> pindesk_outcome Guarded(pindesk_report* pReport, Body body)
{
    try {
        return body();
    } catch (const std::exception&) {
        return Refuse(NO_MEMORY, pReport);
    }
}

} // namespace desk

#endif
