// SPDX-License-Identifier: Apache-2.0
//
// Questions at the controlling terminal. A hidden answer is not shown, and the terminal is put back
// as it was on every way out, a signal included.

#ifndef TOOLS_PINDESK_TERMINAL_H
#define TOOLS_PINDESK_TERMINAL_H

#include "line_reader.h"

#include <string>

namespace tool {

enum class Echo { Off, On };

/// Instead of a descriptor: the terminal of this session, whatever standard input and output are.
constexpr int CONTROLLING_TERMINAL = -1;

/// Asks at a terminal.
/// \return Failed when there is no terminal. A signal that ends the program does so once the
///         terminal is restored; after a stop the question is asked again.
LineEnd AskAtTerminal(const std::string& question, Echo echo, CSecretInput& answer,
                      int fd = CONTROLLING_TERMINAL);

/// Shows a line at a terminal.
void SayAtTerminal(const std::string& line, int fd = CONTROLLING_TERMINAL);

} // namespace tool

#endif
