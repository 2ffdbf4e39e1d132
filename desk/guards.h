// SPDX-License-Identifier: Apache-2.0
//
// What is refused before a card is asked, and what before a secret leaves. Internal.

#ifndef DESK_GUARDS_H
#define DESK_GUARDS_H

#include "desk/state.h"

namespace desk {

/// Length and characters of a value.
/// \param bNew  for one that is to be set.
SResult CheckValue(pindesk_secret eSecret, bool bNew, pindesk_bytes value, std::uint32_t ulFlags);

/// Why a new value would be easy to guess.
pindesk_weakness WeaknessOf(pindesk_bytes value);

/// Whether two values are the same bytes.
bool SameValue(pindesk_bytes a, pindesk_bytes b);

/// What a card has said about the two secrets of an operation.
struct SStates {
    SState secret; ///< presented
    SState target; ///< to be changed; the same as `secret` where that is so
};

/// Refuses an operation that would waste a try, or cannot succeed.
SResult CheckStates(const SRequest& request, const SStates& states);

} // namespace desk

#endif
