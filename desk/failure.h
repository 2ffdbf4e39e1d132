// SPDX-License-Identifier: Apache-2.0
//
// How a step of a call ended, and what PC/SC's codes come to. Internal.

#ifndef DESK_FAILURE_H
#define DESK_FAILURE_H

#include "pindesk/desk.h"

#include <cstdint>
#include <winscard.h>

namespace desk {

/// Done, or why not.
struct SResult {
    pindesk_outcome eOutcome = PINDESK_DONE;
    pindesk_detail eDetail = PINDESK_DETAIL_NONE;

    bool Done() const { return eOutcome == PINDESK_DONE; }
    bool operator==(const SResult&) const = default;
};

constexpr SResult DONE{};
constexpr SResult BAD_ARGUMENT{PINDESK_USAGE, PINDESK_DETAIL_BAD_ARGUMENT};
constexpr SResult CANCELLED{PINDESK_REFUSED, PINDESK_DETAIL_CANCELLED};
constexpr SResult NO_MEMORY{PINDESK_INTERNAL_ERROR, PINDESK_DETAIL_NO_MEMORY};
constexpr SResult NOT_RUNNING{PINDESK_NO_SERVICE, PINDESK_DETAIL_NOT_RUNNING};
constexpr SResult EMPTY{PINDESK_NO_CARD, PINDESK_DETAIL_EMPTY};
constexpr SResult READER_FAILED{PINDESK_NO_CARD, PINDESK_DETAIL_READER_FAILED};
constexpr SResult RESET{PINDESK_IN_USE, PINDESK_DETAIL_RESET};

/// What a code of PC/SC says about service, reader and card. An unknown one is a failing reader.
SResult ResultOfPcsc(LONG lCode);

/// The code with which the exported operations end where they meet a failure before anything is
/// sent; PINDESK_NO_CODE where they know none.
std::int32_t CodeOf(SResult result);

/// What makes sense after a failure that has nothing to do with a secret.
pindesk_next NextAfter(SResult result);

} // namespace desk

#endif
