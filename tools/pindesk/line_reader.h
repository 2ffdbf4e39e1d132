// SPDX-License-Identifier: Apache-2.0
//
// Reads one line that holds a secret: byte by byte, so that the next line stays in the file for
// its own reader and no copy lingers in a stream's buffer.

#ifndef TOOLS_PINDESK_LINE_READER_H
#define TOOLS_PINDESK_LINE_READER_H

#include "secret_input.h"

#include <functional>

namespace tool {

enum class LineEnd { Complete, NoInput, TooLong, Nul, Failed, Interrupted };

/// Reads up to a line feed, which (with a carriage return before it) is dropped, or to the end.
/// \param awaitInput  called before each byte; when it returns false, reading ends with Interrupted.
/// \return Complete also for an empty line; on every other result the line is wiped.
LineEnd ReadLine(int fd, CSecretInput& line, const std::function<bool()>& awaitInput = {});

} // namespace tool

#endif
