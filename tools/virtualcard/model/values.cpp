// SPDX-License-Identifier: Apache-2.0
//
// The forms of PINs and keys.
#include "model/values.h"

#include "model/crypto.h"
#include "model/iso7816.h"

namespace vcard {

namespace {

constexpr std::uint8_t FILLER = 0xFF;

Bytes NewPin(const SCardImage& image, const SSecurityObject& object, ByteView value)
{
    const bool bLengthFits = image.bUnpadded ? value.size() <= MAX_PIN : value.size() == MAX_PIN;
    Require(bLengthFits, sw::WRONG_LENGTH);
    // Some terminals fill with zeros; neither filler makes a PIN longer.
    const Bytes digits = StripTrailing(StripTrailing(Copy(value), FILLER), 0x00);
    Require(!digits.empty() && digits.size() >= object.abParameters[parameter::MINIMUM_LENGTH],
            sw::WRONG_DATA);
    return StoredPin(image, Copy(value));
}

/// K stands for K K K, K1 K2 for K1 K2 K1.
Bytes NewDes3Key(ByteView value)
{
    Require(value.size() == 8 || value.size() == 16 || value.size() == DES3_KEY, sw::WRONG_LENGTH);
    Bytes key;
    for (std::size_t i = 0; i < DES3_KEY; ++i) {
        key.push_back(value[i % value.size()]);
    }
    return key;
}

} // namespace

Bytes StoredPin(const SCardImage& image, Bytes pin)
{
    pin = StripTrailing(std::move(pin), FILLER);
    if (!image.bUnpadded) {
        pin.resize(MAX_PIN, FILLER);
    }
    return pin;
}

void SetValue(const SCardImage& image, SSecurityObject& object, ByteView value)
{
    switch (object.Kind()) {
    case EObjectKind::PIN:
        object.abValue = NewPin(image, object, value);
        return;
    case EObjectKind::AUTH_KEY:
    case EObjectKind::SM_KEY:
        object.abValue = NewDes3Key(value);
        return;
    case EObjectKind::RSA_KEY:
        object.abValue = Copy(value);
        return;
    }
}

} // namespace vcard
