// SPDX-License-Identifier: Apache-2.0
//
// Why it does not work. Internal.

#ifndef DESK_DIAGNOSIS_H
#define DESK_DIAGNOSIS_H

#include "desk/findings.h"
#include "desk/readers.h"
#include "desk/usbreaders.h"

namespace desk {

/// What a call of its own sees of service and readers.
struct SSurvey {
    SResult listed;
    Readers readers;
    std::vector<SHiddenReader> hidden; ///< from PC/SC, but on USB
};

/// Lists the readers, and what there is on USB besides. \return whether there is something to diagnose: not when the call itself was
/// wrong or cancelled; then the report says so.
bool Survey(pindesk_desk* pDesk, const pindesk_options* pOptions, SSurvey& survey,
            pindesk_report& report);

/// Judges service, readers and cards, in this order.
CFindings Diagnose(const SSurvey& survey, const char* szLanguage);

} // namespace desk

#endif
