// SPDX-License-Identifier: Apache-2.0
//
// The command line, as one record.

#ifndef TOOLS_PINDESK_OPTIONS_H
#define TOOLS_PINDESK_OPTIONS_H

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace tool {

struct Verb;

struct Options {
    const Verb* verb = nullptr;     ///< null when the command line has none
    std::vector<std::string> words; ///< what stands after the verb

    // As they were given; an empty text was not.
    std::string slotText, waitText, timeoutText;
    std::string reader, serial, smKeyFile, adminKeyFile, family, bundle, language;
    std::string pinFrom, pukFrom, newFrom;
    std::vector<std::string> settings; ///< NAME=VALUE
    bool isJson = false, isQuiet = false, isHelp = false, isVersion = false, isWatch = false;
    bool isPlain = false; ///< no secure messaging
    bool isConfirmed = false, mayUseLastTry = false, keepsVerified = false, takesAny = false,
         resetsFirst = false;

    std::int32_t slot = 0;                  ///< 0: any
    std::int32_t waitMs = 0, timeoutMs = 0; ///< as the desk takes them

    /// The word after the verb, or an empty one.
    std::string Target() const { return words.empty() ? std::string() : words.front(); }
};

/// Which verbs an option is for.
enum Group : unsigned {
    ALWAYS = 1U << 0,
    CARD = 1U << 1,      ///< verbs that look for a card
    WAITING = 1U << 2,   ///< verbs that can wait for one
    SETTINGS = 1U << 3,  ///< verbs that select files or secrets
    SECRETS = 1U << 4,   ///< verbs that present a secret
    PROTECTED = 1U << 5, ///< verbs that can use secure messaging
    PIN = 1U << 6,
    PUK = 1U << 7,
    NEW = 1U << 8,
    LOCK = 1U << 9,
    FAMILY = 1U << 10,
    WATCH = 1U << 11,
    DOCTOR = 1U << 12,
    STATUS = 1U << 13,
};

struct OptionRow {
    const char* name;
    const char* argument; ///< what stands for its value in help; null for a flag
    unsigned group;
    const char* text;
    std::string Options::*value; ///< null for a flag, and for the one that may be repeated
    bool Options::*flag;

    bool IsOptional() const { return argument != nullptr && *argument == '['; }
};

/// In the order of help.
extern const std::span<const OptionRow> OPTIONS;

/// Parses the command line; what was understood stays when the rest cannot be.
/// \throws CFailure (Usage) without repeating any argument that may be a secret.
void ParseCommandLine(int argc, char** argv, Options& options);

} // namespace tool

#endif
