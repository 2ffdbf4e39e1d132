// SPDX-License-Identifier: Apache-2.0
//
// What the functions that look at a card do within a call. Internal.

#ifndef DESK_LOOKS_H
#define DESK_LOOKS_H

#include "desk/readers.h"

namespace desk {

/// Finds the card and reads its serial number.
/// \param bIdentify  its layout and operations too; then one without a number is no failure.
SResult Look(CCall& call, pindesk_card& card, bool bIdentify);

/// Finds the card and asks for its four secrets.
SResult AskAll(CCall& call, std::vector<pindesk_secret_status>& statuses);

} // namespace desk

#endif
