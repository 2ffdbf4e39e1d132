// SPDX-License-Identifier: Apache-2.0
//
// The serial number of a card that is open. Internal.

#ifndef PINDESK_SERIAL_H
#define PINDESK_SERIAL_H

#include "cardlib/scardzentaris34.h"

#include <cstddef>

namespace pindesk {

constexpr std::size_t SERIAL_LENGTH = 16;

/// Selects the MF and reads the serial number.
/// \param szSerial  receives 16 characters and a NUL; at least 17 bytes.
/// \return as CNS_GetSerial; afterwards another DF is selected.
long ReadSerial(CSCardZentaris34& card, char* szSerial);

/// Reads the number and compares it, as text, with the expected one.
/// \return OK, OTHER_CARD, or the failure of ReadSerial.
long CompareSerial(CSCardZentaris34& card, const char* szExpected);

} // namespace pindesk

#endif
