// SPDX-License-Identifier: Apache-2.0
//
// The programs that have a connection to the PC/SC service. Internal.

#ifndef DESK_HOLDERS_H
#define DESK_HOLDERS_H

#include <string>
#include <vector>

namespace desk {

/// Their names, each once, in no order that means anything; without this process. The kernel tells
/// who is at the other end of the service's socket; whose program that is can be seen for the
/// user's own processes, and by root. Which of them holds a card nobody tells.
std::vector<std::string> ProgramsAtTheService();

/// The names in a buffer, separated by ", ", as many as fit.
void FillInHolders(char (&szHolders)[96]);

} // namespace desk

#endif
