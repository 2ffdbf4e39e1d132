// SPDX-License-Identifier: Apache-2.0
//
// What the steps share: presenting a value, and commands that no session has. Internal.

#ifndef PINDESK_PRESENT_H
#define PINDESK_PRESENT_H

#include "cardlib/scardzentaris34.h"
#include "pindesk/secrets.h"

namespace pindesk {

/// Presents a value padded, and once more with its own length when the card answers 6700.
/// \param cbEffective  receives the length that the card took: 8, or the value's own.
/// \return the card's result.
long Present(CSCardZentaris34& card, std::uint8_t bReference, const SValue& value,
             CK_BYTE& cbEffective);

/// RESET RETRY COUNTER: PUK in the length that the card took, new PIN padded.
class CResetRetryCounter : public CCommandApdu {
public:
    CResetRetryCounter(std::uint8_t bReference, const SValue& puk, CK_BYTE cbPuk,
                       const SValue& newPin);
};

/// Sends a command that an operation builds itself.
/// \return 0, the status word, or NO_STATUS_WORD.
long SendOwnCommand(CSCardZentaris34& card, const CCommandApdu& command);

} // namespace pindesk

#endif
