// SPDX-License-Identifier: Apache-2.0
//
// Secure messaging, the card's side: a protected command is checked and opened, its answer sealed.
#ifndef TOOLS_VIRTUALCARD_MODEL_SECURE_MESSAGING_H
#define TOOLS_VIRTUALCARD_MODEL_SECURE_MESSAGING_H

#include "model/apdu.h"
#include "model/session.h"

namespace vcard {

/// A command taken out of its envelope, and what its answer will be sealed with.
struct SOpened {
    SCommand command;
    Bytes abKey;        ///< 24 bytes
    Bytes abHostRandom; ///< 8 bytes
};

/// Checks and opens a protected command with the secure-messaging key nearest to the current DF.
/// Uses up the session's challenge and host random, whatever comes of it.
/// Throws SRefusal: 6987 without pending randoms or without cryptogram and checksum, 6988 on
/// a wrong checksum, cryptogram or padding, 6882 where no such key exists.
SOpened OpenCommand(CSession& session, const SCommand& envelope);

/// The answer as it travels: cryptogram and checksum objects and the status word in clear, or the
/// bare status word when there is no data.
SAnswer SealAnswer(const SOpened& opened, const SAnswer& answer);

} // namespace vcard

#endif
