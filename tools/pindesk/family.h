// SPDX-License-Identifier: Apache-2.0
//
// Unblocking the PINs of other card families.

#ifndef TOOLS_PINDESK_FAMILY_H
#define TOOLS_PINDESK_FAMILY_H

#include "options.h"
#include "outcome.h"

namespace tool {

/// Resets the PINs of a card of options.family; these cards are not asked for their tries.
Outcome UnblockOtherFamily(const Options& options);

} // namespace tool

#endif
