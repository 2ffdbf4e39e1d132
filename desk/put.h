// SPDX-License-Identifier: Apache-2.0
//
// Texts into the buffers of callers. Internal.

#ifndef DESK_PUT_H
#define DESK_PUT_H

#include <algorithm>
#include <cstddef>
#include <exception>
#include <string>

namespace desk {

/// Writes what `compose` returns into a caller's buffer, as much as fits, always with a NUL.
/// \return the length of the whole text; 0 when there is no memory to compose it.
template <class Compose> std::size_t Put(char* szBuffer, std::size_t cbBuffer, Compose compose)
{
    std::string text;
    try {
        text = compose();
    } catch (const std::exception&) {
        text.clear();
    }
    if (szBuffer != nullptr && cbBuffer > 0) {
        const std::size_t cch = std::min(text.size(), cbBuffer - 1);
        std::copy_n(text.begin(), cch, szBuffer);
        szBuffer[cch] = '\0';
    }
    return text.size();
}

} // namespace desk

#endif
