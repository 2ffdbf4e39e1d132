// SPDX-License-Identifier: Apache-2.0
//
// The word that a misspelt one was meant to be.

#ifndef TOOLS_PINDESK_NEAREST_H
#define TOOLS_PINDESK_NEAREST_H

#include <string>
#include <vector>

namespace tool {

/// The candidate with the fewest letters put in, left out or exchanged, whatever their case, or one
/// that begins or ends with the word; empty when none is near.
std::string Nearest(const std::string& word, const std::vector<std::string>& candidates);

} // namespace tool

#endif
