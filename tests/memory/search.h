// SPDX-License-Identifier: Apache-2.0
//
// Looks for secrets in all memory of this process that can be written.

#ifndef TESTS_MEMORY_SEARCH_H
#define TESTS_MEMORY_SEARCH_H

#include "tests/memory/masked.h"

#include <string>
#include <vector>

/// Where a secret was found.
struct SHit {
    const char* szSecret;
    std::string where; ///< the mapping's name and the offset in it
};

/// Finds every place that holds a secret. Memory that can only be read is left out: nothing can
/// have been left behind there.
std::vector<SHit> FindInMemory(std::span<const CMasked> secrets);

#endif
