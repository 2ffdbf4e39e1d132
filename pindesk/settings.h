// SPDX-License-Identifier: Apache-2.0
//
// How the operations read the settings. Internal.

#ifndef PINDESK_SETTINGS_H
#define PINDESK_SETTINGS_H

#include <cstdint>

/// A setting as a file identifier: its low 16 bits.
/// \param szName  one of the defaults, which always exist.
std::uint16_t FileIdSetting(const char* szName);

/// A setting as the reference of a PIN, PUK or key: its low 8 bits.
std::uint8_t ReferenceSetting(const char* szName);

#endif
