// SPDX-License-Identifier: Apache-2.0
//
// The translations as msgfmt compiles them, in a file that the build writes.

#ifndef DESK_CATALOGUE_H
#define DESK_CATALOGUE_H

#include <cstddef>
#include <span>

namespace desk {

struct Catalogue {
    const char* tag;            ///< "it"
    const unsigned char* bytes; ///< in GNU's MO format, little-endian, sorted by the English text
    std::size_t size;
};

extern const std::span<const Catalogue> CATALOGUES;

} // namespace desk

#endif
