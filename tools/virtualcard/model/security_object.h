// SPDX-License-Identifier: Apache-2.0
//
// Security objects: the PINs, PUKs and keys that a DF holds, with their conditions and counters.
#ifndef TOOLS_VIRTUALCARD_MODEL_SECURITY_OBJECT_H
#define TOOLS_VIRTUALCARD_MODEL_SECURITY_OBJECT_H

#include "model/bytes.h"

#include <array>

namespace vcard {

/// Bytes of the longest PIN, and of every PIN with its filler.
constexpr std::size_t MAX_PIN = 8;

enum class EObjectKind {
    PIN,      ///< PIN or PUK, presented with VERIFY
    AUTH_KEY, ///< Triple-DES key proved with EXTERNAL AUTHENTICATE
    SM_KEY,   ///< Triple-DES key of secure messaging
    RSA_KEY   ///< RSA private key in CRT form
};

/// Bits of the class byte that tell the kinds apart; all clear: an authentication object.
namespace object_class {
constexpr std::uint8_t RSA = 0x20, SM = 0x10;
}

/// Positions in the eight parameter bytes.
namespace parameter {
constexpr std::size_t ALGORITHM = 2, ERROR_COUNTER = 3, MINIMUM_LENGTH = 7, COUNT = 8;
constexpr std::uint8_t ALGORITHM_PIN = 0x87, ALGORITHM_DES3 = 0x82;
} // namespace parameter

/// Positions in the access bytes. Bytes 3 and 4 are the object's own life: who may deactivate
/// it, who may activate it and rewrite its conditions.
namespace object_access {
constexpr std::size_t USE = 0, CHANGE = 1, UNBLOCK = 2, DEACTIVATE = 3, ACTIVATE = 4, MINIMUM = 8;
constexpr std::size_t GENERATE = 6;
} // namespace object_access

/// Positions in the sixteen secure-messaging bytes, encryption first, signature after it.
namespace object_sm {
constexpr std::size_t USE = 0, CHANGE = 2, UNBLOCK = 4, COUNT = 16;
constexpr std::uint8_t NOT_NEEDED = 0xFF;
} // namespace object_sm

/// Access bytes with a meaning of their own; any other names the secret that must be verified.
namespace access {
constexpr std::uint8_t ALWAYS = 0x00, NEVER = 0xFF;
}

/// The reference of an object without the bit that asks for the search from the current DF.
constexpr std::uint8_t REFERENCE_MASK = 0x7F, REFERENCE_LOCAL = 0x80;

struct SSecurityObject {
    std::string strName; ///< for people and counters; never sent
    std::uint8_t bClass = 0, bId = 0;
    std::array<std::uint8_t, parameter::COUNT> abParameters{};
    Bytes abAccess; ///< eight to ten bytes
    Bytes abSm;     ///< sixteen bytes
    Bytes abValue;  ///< a PIN as it is stored, a 24-byte key, or a key block (rsa.h)
    std::uint8_t bTriesLeft = 0;
    bool bActive = true;
    std::uint32_t cPresented = 0; ///< how often a value arrived to be compared
    std::uint32_t cNewValues = 0; ///< how often a new value arrived

    EObjectKind Kind() const;
    /// Tries after a right value: the low nibble of the error counter parameter.
    std::uint8_t MaxTries() const { return abParameters[parameter::ERROR_COUNTER] & 0x0F; }
    /// True when the use at this position (object_sm) is only allowed under secure messaging.
    bool NeedsSm(std::size_t position) const;
    /// Spends a try on a value and compares. A right one restores the counter.
    /// Throws SRefusal: 6983 blocked, 6700 another length (no try spent), 63Cx wrong, x left.
    void Present(ByteView value);
    /// Only the bookkeeping of Present, for a proof that isn't the value itself.
    void Prove(bool bRight);
};

} // namespace vcard

#endif
