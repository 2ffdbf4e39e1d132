// SPDX-License-Identifier: Apache-2.0
//
// Short APDUs (ISO/IEC 7816-4): a command taken apart, an answer put together.
#ifndef TOOLS_VIRTUALCARD_MODEL_APDU_H
#define TOOLS_VIRTUALCARD_MODEL_APDU_H

#include "model/bytes.h"
#include "model/iso7816.h"

namespace vcard {

/// A command APDU, plain or taken out of its secure-messaging envelope.
struct SCommand {
    std::uint8_t bCla = 0, bIns = 0, bP1 = 0, bP2 = 0;
    Bytes abData;
    bool bHasLe = false;         ///< the command says how much data it wants back
    bool bExactLe = false;       ///< it wants cbLe bytes, not just whatever there is
    std::size_t cbLe = 256;      ///< bytes of answer data it has room for
    bool bProtected = false;     ///< it came under secure messaging
    bool bTrailingZeros = false; ///< zero bytes follow that no length announces

    std::uint16_t P1P2() const { return Word(bP1, bP2); }
};

/// What a command gives back: data and a status word.
struct SAnswer {
    SAnswer() = default;
    SAnswer(Bytes data, std::uint16_t wSw = sw::SUCCESS) : abData(std::move(data)), wStatus(wSw) {}

    Bytes abData;
    std::uint16_t wStatus = sw::SUCCESS;
};

/// Takes a short command apart. Throws SRefusal(6700) when the lengths don't agree; zero bytes
/// after a complete command are only marked, since one command of this card comes with them.
SCommand ParseCommand(ByteView apdu);

/// The answer as it travels: data, then the status word.
Bytes Serialize(const SAnswer& answer);

} // namespace vcard

#endif
