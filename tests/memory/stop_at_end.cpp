// SPDX-License-Identifier: Apache-2.0
//
// Loaded in front of a program, stops it when it ends, with its memory as the program leaves it.

#include <csignal>

[[gnu::destructor]] static void StopAtEnd()
{
    raise(SIGSTOP);
}
