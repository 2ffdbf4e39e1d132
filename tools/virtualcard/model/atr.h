// SPDX-License-Identifier: Apache-2.0
//
// The answer to reset (ISO/IEC 7816-3, 8.2): put together for a profile, taken apart to check one
// that a person gives.
#ifndef TOOLS_VIRTUALCARD_MODEL_ATR_H
#define TOOLS_VIRTUALCARD_MODEL_ATR_H

#include "model/bytes.h"

namespace vcard {

/// An answer to reset with these historical bytes (at most 15), for T=1 or else for T=0 alone.
Bytes MakeAtr(const Bytes& historical, bool bT1);

/// Throws std::invalid_argument unless the bytes are a whole answer to reset: interface bytes as
/// announced, as many historical bytes, and the right check byte where one has to be.
void CheckAtr(ByteView atr);

/// Whether the protocol that a checked answer to reset offers first is T=1.
bool OffersT1(ByteView atr);

} // namespace vcard

#endif
