// SPDX-License-Identifier: Apache-2.0
//
// The settings of the library as this process has them.

#ifndef TOOLS_PINDESK_SETTINGS_H
#define TOOLS_PINDESK_SETTINGS_H

#include <string>
#include <vector>

namespace tool {

/// Hands NAME=VALUE pairs to the library, and turns its try guard on.
/// \throws CFailure (Usage) for an unknown name, or a value (decimal or 0x) that does not fit.
void ApplySettings(const std::vector<std::string>& assignments);

/// The value in force; name is one of the twelve.
long SettingValue(const std::string& name);

} // namespace tool

#endif
