// SPDX-License-Identifier: Apache-2.0
//
// Readers as a person and a script see them.

#ifndef TOOLS_PINDESK_READERS_H
#define TOOLS_PINDESK_READERS_H

#include "outcome.h"

namespace tool {

/// "1  Name  card present  3b8b..."
std::string LineOf(const pindesk_reader& reader);
Row FieldsOf(const pindesk_reader& reader);

/// Adds the readers, a line each and as "readers".
void AddReaders(const std::vector<pindesk_reader>& readers, Outcome& outcome);

/// The answer to reset as hexadecimal digits.
std::string AtrText(const pindesk_reader& reader);

/// Reader names and texts of cards are bytes that a device chose: as they can be shown.
std::string Shown(const char* text);

} // namespace tool

#endif
