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

/// A remark beside the result, on standard error unless --quiet.
void Note(const Options& options, const std::string& text);

} // namespace tool

#endif
