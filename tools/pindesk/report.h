// SPDX-License-Identifier: Apache-2.0
//
// What goes to standard output and standard error.

#ifndef TOOLS_PINDESK_REPORT_H
#define TOOLS_PINDESK_REPORT_H

#include "options.h"
#include "outcome.h"

namespace tool {

/// Prints an outcome for a person, or as one JSON object.
/// \return the exit status: that of the outcome, unless standard output cannot be written.
int Report(const Options& options, const Outcome& outcome);

/// Prints one event as it happens, as a line or as a JSON object.
/// \return false when standard output cannot be written.
bool ReportEvent(const Options& options, const std::string& line, const Row& fields);

/// A remark beside the result, on standard error unless --quiet. Beside JSON only at a terminal:
/// scripts find it in the object.
void Note(const Options& options, const std::string& text);

} // namespace tool

#endif
