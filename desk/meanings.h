// SPDX-License-Identifier: Apache-2.0
//
// Numbers in words that more than one text needs. Internal.

#ifndef DESK_MEANINGS_H
#define DESK_MEANINGS_H

#include "pindesk/desk.h"

#include <string>

namespace desk {

/// What an outcome means.
std::string OutcomeText(const char* szLanguage, pindesk_outcome eOutcome);

/// "3 tries are left", "1 try is left".
std::string TriesText(const char* szLanguage, std::int32_t lTries);

/// What to do next.
std::string NextText(const char* szLanguage, pindesk_next eNext);

} // namespace desk

#endif
