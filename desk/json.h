// SPDX-License-Identifier: Apache-2.0
//
// JSON as it is written: every value is a piece of text. Internal.

#ifndef DESK_JSON_H
#define DESK_JSON_H

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace desk {

/// A member of an object: its name, plain, and its value as JSON.
using JsonMember = std::pair<const char*, std::string>;

/// A text in quotes. Bytes that are no UTF-8 and control bytes become \xNN within it.
std::string JsonText(std::string_view text);
std::string JsonBool(bool b);
std::string JsonObject(const std::vector<JsonMember>& members);
/// One value a line.
std::string JsonArray(const std::vector<std::string>& values);
/// The same of what `write` makes of each element.
template <class T, class Write>
std::string JsonArray(const std::vector<T>& elements, const Write& write)
{
    std::vector<std::string> values;
    std::transform(elements.begin(), elements.end(), std::back_inserter(values), write);
    return JsonArray(values);
}

} // namespace desk

#endif
