// SPDX-License-Identifier: Apache-2.0
//
// The image as JSON and back.
#ifndef TOOLS_VIRTUALCARD_MODEL_STATE_H
#define TOOLS_VIRTUALCARD_MODEL_STATE_H

#include "model/machine.h"

#include <nlohmann/json_fwd.hpp>

namespace vcard {

/// The image as one JSON object; byte strings are hexadecimal text.
nlohmann::json ToJson(const SCardImage& image);

/// The image that ToJson gave for a card of the profile of `fresh`, whose fixed traits it takes.
/// Throws std::invalid_argument when the JSON is anything else.
SCardImage FromJson(const nlohmann::json& state, const SCardImage& fresh);

/// Counters of all PINs, PUKs and authentication keys, by name, and under "card" what holds for the
/// whole. Two objects of one name are told apart by the identifier of their DF in front.
nlohmann::json CountersOf(const SCardImage& image);

} // namespace vcard

#endif
