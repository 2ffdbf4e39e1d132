// SPDX-License-Identifier: Apache-2.0
//
// What really happened when an operation failed. Result codes alone do not tell a wrong value from
// a reader that failed, so the card is asked again before anything is said.

#ifndef TOOLS_PINDESK_AFTERMATH_H
#define TOOLS_PINDESK_AFTERMATH_H

#include "card_query.h"

namespace tool {

/// What was undertaken.
struct Deed {
    std::string reader;
    const Secret& secret; ///< presented, or the one that lock deactivates
    Tries before;         ///< of that secret
    bool isProtected;     ///< under secure messaging
    bool isChange;        ///< of a secret, by the secret itself
    std::string doubt;    ///< what is not known when the answer to a change is lost
};

/// \param code  other than 0.
Outcome Judge(const Deed& deed, long code);

} // namespace tool

#endif
