// SPDX-License-Identifier: Apache-2.0
//
// Texts in columns of a terminal.

#ifndef TOOLS_PINDESK_COLUMNS_H
#define TOOLS_PINDESK_COLUMNS_H

#include <cstddef>
#include <string>

namespace tool {

/// How many a text takes: one for each character of UTF-8.
std::size_t Columns(const std::string& text);

/// A text with blanks behind it, so that it takes at least so many.
std::string Padded(std::string text, std::size_t columns);

/// A text broken between words into lines of 79 columns at most.
/// \param indent  of every line; the first has that many columns already.
std::string Wrapped(const std::string& text, std::size_t indent);

} // namespace tool

#endif
