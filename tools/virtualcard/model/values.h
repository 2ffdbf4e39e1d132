// SPDX-License-Identifier: Apache-2.0
//
// New values of security objects: the one place that knows which form each kind takes.
#ifndef TOOLS_VIRTUALCARD_MODEL_VALUES_H
#define TOOLS_VIRTUALCARD_MODEL_VALUES_H

#include "model/machine.h"

namespace vcard {

/// A PIN in the form in which this card keeps it: eight bytes, FF-filled, or only the PIN itself.
Bytes StoredPin(const SCardImage& image, Bytes pin);

/// Gives an object a new value. A PIN comes as eight bytes with its filler, or, on a card that
/// stores it unpadded, as up to eight; a Triple-DES key as 8, 16 or 24.
/// Throws SRefusal: 6700 for another length, 6A80 for a PIN shorter than the object's minimum.
void SetValue(const SCardImage& image, SSecurityObject& object, ByteView value);

} // namespace vcard

#endif
