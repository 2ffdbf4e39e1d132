// SPDX-License-Identifier: Apache-2.0
//
// The secrets of a card in words, and their values as a person gives them.

#ifndef TOOLS_PINDESK_VALUES_H
#define TOOLS_PINDESK_VALUES_H

#include "options.h"
#include "pindesk/desk.h"
#include "secret_input.h"
#include "source.h"

#include <array>
#include <string>
#include <vector>

namespace tool {

inline constexpr std::array CARD_SECRETS = {PINDESK_CNS_PIN, PINDESK_CNS_PUK, PINDESK_DS_PIN,
                                            PINDESK_DS_PUK};

/// The secret of a word that the option parser has let pass.
pindesk_secret SecretNamed(const std::string& word);

bool IsPuk(pindesk_secret secret);

/// "CNS PIN".
std::string TitleOf(pindesk_secret secret);

/// The width of a column of titles.
std::size_t TitleWidth();

/// What pindesk_status tells.
using States = std::vector<pindesk_secret_status>;
/// Not told for a secret that is not among them.
pindesk_state StateOf(const States& states, pindesk_secret secret);

/// "CNS PIN  3 tries are left", a line each; what brings one back that is not usable.
std::string StatusLines(const States& states);

struct Limits {
    std::int32_t min = 0, max = 0;
};
Limits LimitsOf(pindesk_secret secret);

/// "6 to 8 digits", "8 characters".
std::string LengthText(const Limits& limits, bool takesAny);

/// Reads a value and checks it by itself; at a prompt it is asked for again when it cannot be right.
/// \param triesLeft  shown at the prompt; negative when they are not known, or not at stake.
/// \throws CFailure (Refused)
void ReadValue(const Options& options, const CSource& source, pindesk_secret secret, bool isNew,
               std::int32_t triesLeft, CSecretInput& value);

} // namespace tool

#endif
