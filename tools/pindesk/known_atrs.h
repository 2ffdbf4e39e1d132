// SPDX-License-Identifier: Apache-2.0
//
// Answers to reset that are known here, each with the bytes in it that matter.

#ifndef TOOLS_PINDESK_KNOWN_ATRS_H
#define TOOLS_PINDESK_KNOWN_ATRS_H

#include <string>

namespace tool {

/// The kind of card that answers so, or null.
const char* KnownAtr(const std::string& atr);

} // namespace tool

#endif
