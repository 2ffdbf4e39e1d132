// SPDX-License-Identifier: Apache-2.0

#include "tests/memory/search.h"

#include <cstdio>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

namespace {

struct SMapping {
    const Byte* pbBegin = nullptr;
    const Byte* pbEnd = nullptr;
    char name[64] = "";
};

constexpr std::size_t MOST_MAPPINGS = 256;

/// The text of /proc/self/maps. Here and in what follows nothing is allocated: that would cover
/// what others have left behind in freed memory.
const char* MapsText()
{
    static char text[1U << 16U];
    const int iFile = open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
    std::size_t cb = 0;
    for (ssize_t cbRead = 1; cbRead > 0; cb += static_cast<std::size_t>(cbRead)) {
        cbRead = std::max<ssize_t>(0, read(iFile, text + cb, sizeof text - 1 - cb));
    }
    close(iFile);
    text[cb] = '\0';
    return text;
}

std::span<const SMapping> WritableMappings()
{
    static SMapping mappings[MOST_MAPPINGS];
    std::size_t n = 0;
    for (const char* sz = MapsText(); sz != nullptr && *sz != '\0';
         sz = std::strchr(sz, '\n') + 1) {
        void* pBegin = nullptr;
        void* pEnd = nullptr;
        char access[5] = "";
        SMapping mapping;
        const int iFields = std::sscanf(sz, "%p-%p %4s %*s %*s %*s%*[ ]%63[^\n]", &pBegin, &pEnd,
                                        access, mapping.name);
        if (iFields >= 3 && access[0] == 'r' && access[1] == 'w') {
            mapping.pbBegin = static_cast<const Byte*>(pBegin);
            mapping.pbEnd = static_cast<const Byte*>(pEnd);
            if (n == MOST_MAPPINGS) {
                throw std::length_error("more mappings than expected");
            }
            mappings[n++] = mapping;
        }
    }
    return {mappings, n};
}

/// Compares memory with a masked secret byte by byte, so that the search itself copies neither.
bool IsAt(const Byte* pb, const CMasked& secret)
{
    for (std::size_t i = 0; i < secret.size(); ++i) {
        if ((pb[i] ^ MASK) != secret.MaskedAt(i)) {
            return false;
        }
    }
    return true;
}

void FindIn(const SMapping& mapping, const CMasked& secret, std::vector<SHit>& hits)
{
    for (const Byte* pb = mapping.pbBegin; pb + secret.size() <= mapping.pbEnd; ++pb) {
        if (IsAt(pb, secret)) {
            const std::string name = mapping.name[0] == '\0' ? "unnamed memory" : mapping.name;
            hits.push_back({secret.Name(), name + " + " + std::to_string(pb - mapping.pbBegin)});
        }
    }
}

} // namespace

std::vector<SHit> FindInMemory(std::span<const CMasked> secrets)
{
    std::vector<SHit> hits;
    for (const SMapping& mapping : WritableMappings()) {
        for (const CMasked& secret : secrets) {
            FindIn(mapping, secret, hits);
        }
    }
    return hits;
}
