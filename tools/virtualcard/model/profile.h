// SPDX-License-Identifier: Apache-2.0
//
// Profiles: the cards that can be made, fresh from the issuer.
#pragma once

#include "model/card.h"
#include "model/machine.h"

namespace vcard {

/// A fresh card. Throws std::invalid_argument on an unknown profile or a bad serial number.
SCardImage MakeImage(const SCardOptions& options);

/// Brings the secrets of an image in line with the options: padding, and protection of those
/// that live in a DF.
void ApplyOptions(SCardImage& image, const SCardOptions& options);

/// The answer to reset of a card of these options.
Bytes MakeAtr(const SCardOptions& options);

} // namespace vcard
