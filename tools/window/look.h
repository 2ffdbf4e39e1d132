// SPDX-License-Identifier: Apache-2.0
//
// One look at a card: what it is, and how its secrets stand.

#ifndef TOOLS_WINDOW_LOOK_H
#define TOOLS_WINDOW_LOOK_H

#include "tools/window/watch.h"

#include <array>
#include <functional>

namespace window {

constexpr std::size_t SECRETS = 4;

struct SCard {
    unsigned uInsertion = 0; ///< that was looked at
    pindesk_card card{};
    std::array<pindesk_secret_status, SECRETS> secrets{}; ///< in the order of pindesk_secret
    pindesk_report report{};                              ///< PINDESK_DONE, or why nothing is known
};

using Waiting = std::function<void(const pindesk_report& soFar)>;

/// Options that call a function while they wait; it must outlive the call.
pindesk_options OptionsFor(const pindesk_reader& reader, const Waiting& waiting);

/// Looks at the card of one insertion, however long another program keeps it.
SCard LookAt(pindesk_desk* pDesk, const SSeen& seen, const Waiting& waiting);

} // namespace window

#endif
