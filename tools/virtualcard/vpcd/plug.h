// SPDX-License-Identifier: Apache-2.0
//
// Puts a virtual card into vpcd's reader.

#ifndef VIRTUALCARD_VPCD_PLUG_H
#define VIRTUALCARD_VPCD_PLUG_H

#include "session/pluggedcard.h"
#include "vpcd/stopsignal.h"

#include <cstdint>

namespace vcard {

/// Serves the reader on \p usPort with the card until asked to stop. A card that a fault removes
/// comes back by itself.
/// \throws std::runtime_error  when vpcd is not there or goes away, or a file cannot be written
void ServeVpcd(CPluggedCard& card, std::uint16_t usPort, const CStopSignal& stop);

} // namespace vcard

#endif
