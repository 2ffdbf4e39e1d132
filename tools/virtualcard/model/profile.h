// SPDX-License-Identifier: Apache-2.0
//
// Profiles: the cards that can be made, fresh from the issuer.
#ifndef TOOLS_VIRTUALCARD_MODEL_PROFILE_H
#define TOOLS_VIRTUALCARD_MODEL_PROFILE_H

#include "model/card.h"
#include "model/machine.h"

namespace vcard {

/// A fresh card. Throws std::invalid_argument on an unknown profile, a bad serial number or a bad
/// answer to reset.
SCardImage MakeImage(const SCardOptions& options);

/// Brings the secrets of an image in line with the options: padding, and protection of those
/// that live in a DF.
void ApplyOptions(SCardImage& image, const SCardOptions& options);

/// The answer to reset of a card made with these options.
Bytes AtrOf(const SCardImage& image, const SCardOptions& options);

} // namespace vcard

#endif
