// SPDX-License-Identifier: Apache-2.0
//
// What the environment says about the in-process card. A program that loads it has no options for
// it.

#ifndef TOOLS_VIRTUALCARD_INPROCESS_SETTINGS_H
#define TOOLS_VIRTUALCARD_INPROCESS_SETTINGS_H

#include "plugged/pluggedcard.h"

#include <string>
#include <vector>

namespace vcard {

/// One reader and the card in it.
struct SReaderSettings {
    std::string strName;
    SPluggedCardOptions plugged;
};

/// Reads PINDESK_VCARD_READER, the reader's name (empty for no reader at all; not set: the one of a
/// recorded dialogue, or one of our own), and each option
/// (plugged/options.h) as PINDESK_VCARD_ and its name. A variable that is not set leaves the card's
/// own default. A second reader exists where PINDESK_VCARD2_READER names it, with options of its
/// own, and so on up to PINDESK_VCARD9_.
/// \throws std::invalid_argument  that names the variable with a value it cannot have
std::vector<SReaderSettings> SettingsFromEnvironment();

} // namespace vcard

#endif
