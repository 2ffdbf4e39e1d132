// SPDX-License-Identifier: Apache-2.0
//
// What the card can do: one row a command, for the dispatcher that runs it and for the log that
// names it and masks it.
#ifndef TOOLS_VIRTUALCARD_MODEL_COMMAND_TABLE_H
#define TOOLS_VIRTUALCARD_MODEL_COMMAND_TABLE_H

#include <cstdint>
#include <span>

namespace vcard {

struct SAnswer;
struct SCommand;
struct SMachine;

struct SCommandRow {
    std::uint8_t bCla, bIns;
    bool bSecret;       ///< command or answer may hold a PIN, a PUK, a key or a proof of one
    const char* szName; ///< that of ISO/IEC 7816-4, or the card maker's for its own commands
    SAnswer (*pHandler)(SMachine&, const SCommand&);
};

/// All commands of the card.
std::span<const SCommandRow> Commands();

} // namespace vcard

#endif
