// SPDX-License-Identifier: Apache-2.0
//
// The four secrets of a card, one row each.

#ifndef TOOLS_PINDESK_SECRETS_H
#define TOOLS_PINDESK_SECRETS_H

#include <array>
#include <cstddef>
#include <string>

namespace tool {

struct Secret {
    std::size_t position; ///< in the parameter lists of the operations
    const char* word;     ///< on the command line and in JSON
    const char* title;    ///< in messages
    const char* setting;  ///< of its reference on the card
    bool isSignature;     ///< in the DS application's DF; may travel under secure messaging
    bool isPuk;
    long blockedCode;   ///< of the operations
    const char* remedy; ///< what to do when it is blocked
};

constexpr std::size_t SECRET_COUNT = 4;
extern const std::array<Secret, SECRET_COUNT> kSecrets;

const Secret& CnsPin();
const Secret& CnsPuk();
const Secret& DsPin();
const Secret& DsPuk();

/// The row of a word that the option parser has let pass.
const Secret& SecretNamed(const std::string& word);

/// "3 tries are left", "1 try is left".
std::string TriesText(int tries);

} // namespace tool

#endif
