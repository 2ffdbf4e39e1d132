// SPDX-License-Identifier: Apache-2.0
//
// From the bytes of a command to the bytes of its answer.
#ifndef TOOLS_VIRTUALCARD_MODEL_DISPATCHER_H
#define TOOLS_VIRTUALCARD_MODEL_DISPATCHER_H

#include "model/machine.h"

namespace vcard {

/// Carries out one command APDU, plain or protected. Any bytes get an answer; what the card
/// can't do for a reason of its own (memory, cryptography) gets 6F00. Never throws.
Bytes Dispatch(SMachine& card, ByteView apdu) noexcept;

} // namespace vcard

#endif
