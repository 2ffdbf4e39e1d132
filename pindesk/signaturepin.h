// SPDX-License-Identifier: Apache-2.0
//
// What locking and reactivating the signature PIN share. Internal.

#ifndef PINDESK_SIGNATUREPIN_H
#define PINDESK_SIGNATUREPIN_H

#include "cardlib/apdu.h"
#include "cardlib/scardzentaris34.h"

/// DEACTIVATE or ACTIVATE of the signature PIN object, by its reference without the local bit.
class CSignaturePinCommand : public CCommandApdu {
public:
    explicit CSignaturePinCommand(std::uint8_t bIns);
};

/// The reference of the administration key of the signature application.
std::uint8_t AdminKeyReference();

/// Blocks the administration key by presenting a wrong one until the card says 6983. The card's
/// retry counter is the only bound on purpose; it also ends when the card is gone.
void BlockAdminKey(CSCardZentaris34& card);

#endif
