// SPDX-License-Identifier: Apache-2.0
//
// The options of a plugged card by name. A command line spells one --require-sm, an environment
// PINDESK_VCARD_REQUIRE_SM; what they mean stands here once.

#ifndef TOOLS_VIRTUALCARD_PLUGGED_OPTIONS_H
#define TOOLS_VIRTUALCARD_PLUGGED_OPTIONS_H

#include "plugged/pluggedcard.h"

#include <span>
#include <string>

namespace vcard {

struct SOption {
    const char* szName;  ///< lower case, words joined by hyphens
    const char* szValue; ///< what its value is called; null for a switch, whose values are 1 and 0
    const char* szHelp;

    /// Puts a value into the options. \throws std::invalid_argument  that says what was expected
    void (*pSet)(SPluggedCardOptions& options, const std::string& strValue);
};

/// All options, in the order of a help text.
std::span<const SOption> Options();

/// Sets an option.
/// \param strSpelling  its name as the person wrote it
/// \throws std::invalid_argument  that names it, what was expected and what came
void SetOption(SPluggedCardOptions& options, const SOption& option, const std::string& strSpelling,
               const std::string& strValue);

} // namespace vcard

#endif
