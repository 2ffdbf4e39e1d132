// SPDX-License-Identifier: Apache-2.0
//
// The readers of this machine, and the one that a run is about.

#ifndef TOOLS_PINDESK_READERS_H
#define TOOLS_PINDESK_READERS_H

#include "options.h"

#include <string>
#include <vector>

namespace tool {

struct Reader {
    long slot = 0;
    std::string name;
    bool hasCard = false;
    std::string atr; ///< hexadecimal; empty without a card
};

/// \throws CFailure NoService, or NoReader when there is none.
std::vector<Reader> ListReaders();

/// The reader that the options name, or the only one with a card; its card is there, waited for if
/// the options say so, and is the expected one.
/// \throws CFailure NoService, NoReader, NoCard, OtherCard, or Usage when several readers fit.
Reader LocateCard(const Options& options);

/// The serial number of the card in a slot, or empty when it has none that can be read.
/// \throws CFailure when the card cannot be reached.
std::string TryReadSerial(const Reader& reader);

} // namespace tool

#endif
