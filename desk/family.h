// SPDX-License-Identifier: Apache-2.0
//
// The operations on cards of other families. Internal.

#ifndef DESK_FAMILY_H
#define DESK_FAMILY_H

#include "desk/state.h"

namespace desk {

/// Whether an operation is one of another family.
bool IsFamily(pindesk_operation eOperation);

/// Asks for the PUK of a family's first PIN. 4 to 6 exchanges.
SState AskFamily(CSession& session, pindesk_operation eOperation);

} // namespace desk

#endif
