// SPDX-License-Identifier: Apache-2.0
//
// Structures that begin with their size, as callers of other versions have them. Internal.

#ifndef DESK_SIZED_H
#define DESK_SIZED_H

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace desk {

/// A caller's structure as this version knows it; zeros where the caller's is shorter or null.
template <class T> T Taken(const T* pCallers)
{
    T own{};
    if (pCallers != nullptr) {
        std::memcpy(&own, pCallers, std::min(pCallers->size, sizeof own));
    }
    own.size = sizeof own;
    return own;
}

/// Fills in a caller's structure as far as it goes; null is allowed.
template <class T> void HandOver(const T& own, T* pCallers)
{
    if (pCallers == nullptr) {
        return;
    }
    const std::size_t cb = pCallers->size;
    std::memcpy(static_cast<void*>(pCallers), &own, std::min(cb, sizeof own));
    if (cb >= sizeof cb) {
        pCallers->size = cb;
    }
}

/// Copies a text into a structure's buffer, cut where it has to be.
template <std::size_t N> void CopyText(char (&to)[N], const char* szFrom, std::size_t cch)
{
    const std::size_t cchCopied = std::min(cch, N - 1);
    std::copy_n(szFrom, cchCopied, to);
    to[cchCopied] = '\0';
}

} // namespace desk

#endif
