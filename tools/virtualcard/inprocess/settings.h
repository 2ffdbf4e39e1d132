// SPDX-License-Identifier: Apache-2.0
//
// What the environment says about the in-process card. A program that loads it has no options for
// it.

#ifndef VIRTUALCARD_INPROCESS_SETTINGS_H
#define VIRTUALCARD_INPROCESS_SETTINGS_H

#include "session/pluggedcard.h"

#include <string>

namespace vcard {

struct SSettings {
    SPluggedCardOptions session;
    std::string strReader; ///< the reader's name; empty for no reader at all
};

/// Reads PINDESK_VCARD_PROFILE, _SERIAL, _PROTOCOL (t0 or t1), _LATENCY (ms), _STATE, _COUNTERS,
/// _READER, _FAULT (rules separated by commas), _LOG (a file, or - for standard error),
/// _REQUIRE_SM and _UNPADDED (1 or 0). A variable that is not set leaves the card's own default.
/// \throws std::invalid_argument  that names the variable with a value it cannot have
SSettings SettingsFromEnvironment();

} // namespace vcard

#endif
