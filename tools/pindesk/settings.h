// SPDX-License-Identifier: Apache-2.0
//
// The settings of the library, as --set gives them.

#ifndef TOOLS_PINDESK_SETTINGS_H
#define TOOLS_PINDESK_SETTINGS_H

#include <string>
#include <vector>

namespace tool {

/// Hands NAME=VALUE pairs to the library.
/// \throws CFailure (Usage) for an unknown name, or a value (decimal or 0x) that does not fit.
void ApplySettings(const std::vector<std::string>& assignments);

} // namespace tool

#endif
