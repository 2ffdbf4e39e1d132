// SPDX-License-Identifier: Apache-2.0
//
// Puts a virtual card into vpcd's reader.

#ifndef TOOLS_VIRTUALCARD_VPCD_PLUG_H
#define TOOLS_VIRTUALCARD_VPCD_PLUG_H

#include "plugged/pluggedcard.h"
#include "vpcd/stopsignal.h"

#include <cstdint>

namespace vcard {

struct SVpcdOptions {
    std::uint16_t usPort;
    std::chrono::milliseconds arrival; ///< the reader stays empty that long at first
    std::chrono::milliseconds
        absence; ///< how long a removed card is away; pcscd looks every 400 ms
};

/// Serves the reader with the card until asked to stop. A card that a fault removes comes back by
/// itself, one that a fault pulls does not.
/// \throws std::runtime_error  when vpcd is not there or goes away, or a file cannot be written
void ServeVpcd(CPluggedCard& card, const SVpcdOptions& options, const CStopSignal& stop);

} // namespace vcard

#endif
