// SPDX-License-Identifier: Apache-2.0
//
// One look at a card: what it is, and how its secrets stand.

#ifndef TOOLS_WINDOW_LOOK_H
#define TOOLS_WINDOW_LOOK_H

#include "tools/window/watch.h"

#include <array>

namespace window {

constexpr std::size_t SECRETS = 4;

struct SCard {
    unsigned uInsertion; ///< that was looked at
    pindesk::card card;  ///< its report: done, or why nothing is known
    std::array<pindesk::secret_status, SECRETS> secrets{}; ///< in the order of pindesk::secret

    pindesk::secret_status& StatusOf(pindesk::secret eSecret)
    {
        return secrets.at(static_cast<std::size_t>(eSecret));
    }
    const pindesk::secret_status& StatusOf(pindesk::secret eSecret) const
    {
        return secrets.at(static_cast<std::size_t>(eSecret));
    }
};

using Waiting = std::function<void(const pindesk::report& soFar)>;

/// Looks at the card of one insertion, however long another program keeps it.
SCard LookAt(pindesk::desk& desk, const SSeen& seen, const Waiting& waiting);

} // namespace window

#endif
