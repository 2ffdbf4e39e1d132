// SPDX-License-Identifier: Apache-2.0
//
// The answer to reset, read by its structure (ISO/IEC 7816-3): what it offers, and what its
// historical bytes say about the card. Internal.

#ifndef DESK_ATR_H
#define DESK_ATR_H

#include "pindesk/desk.h"

#include <cstdint>
#include <span>
#include <string>

namespace desk {

using Bytes = std::span<const std::uint8_t>;

struct SAtr {
    bool bT0 = false, bT1 = false;
    std::uint8_t bTa1 = 0x11; ///< factors Fi and Di; the default without the byte
    Bytes historical;         ///< within the answer
};

/// Whatever is cut off or longer than it says ends the reading; what was read by then holds.
SAtr ReadAtr(Bytes atr);

/// What kind of card answers so.
pindesk_kind KindOf(Bytes atr);
/// Whose chip it is, English; empty if the answer does not say.
std::string ChipOf(Bytes atr);

/// Fills in what an answer to reset says of a card.
void DescribeAtr(Bytes atr, pindesk_card& card);

} // namespace desk

#endif
