// SPDX-License-Identifier: Apache-2.0
//
// The command line, as one record.

#ifndef TOOLS_PINDESK_OPTIONS_H
#define TOOLS_PINDESK_OPTIONS_H

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace tool {

struct Verb;

struct Options {
    const Verb* verb = nullptr;
    std::string target; ///< the word after the verb

    long slot = 0; ///< 0: not given
    std::string reader;
    std::string serial;                       ///< 16 characters, or empty
    std::optional<std::chrono::seconds> wait; ///< for a card
    std::vector<std::string> settings;        ///< NAME=VALUE
    std::string smKeyFile, adminKeyFile;
    std::string family;
    std::string pinFrom, pukFrom, newFrom;
    bool isJson = false, isQuiet = false, isPlain = false; ///< plain: no secure messaging
    bool isConfirmed = false, mayUseLastTry = false;
};

/// Parses the command line into options, or prints the help or version that it asks for.
/// \return false when there is nothing left to do.
/// \throws CFailure (Usage) without repeating any argument that may be a secret.
bool ParseCommandLine(int argc, char** argv, Options& options);

} // namespace tool

#endif
