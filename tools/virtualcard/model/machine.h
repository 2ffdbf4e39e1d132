// SPDX-License-Identifier: Apache-2.0
//
// The card as its commands see it: the image that survives a restart and the powered session.
#pragma once

#include "model/session.h"

#include <string>

namespace vcard {

enum class ELifeCycle : std::uint8_t { eOperational = 0x10, eAdministration = 0x20 };

/// Everything that survives a restart.
struct SCardImage {
    std::string strProfile;
    ELifeCycle lifeCycle = ELifeCycle::eOperational;
    bool bUnpadded = false;    ///< PINs are stored without filler bytes
    bool bOtherFamily = false; ///< it knows the commands that only other card families have
    SFile mf;
};

/// Memory for files and objects, in bytes, and what is left of it.
constexpr std::size_t CARD_MEMORY = 0x8000;
inline std::size_t FreeMemory(const SCardImage& image)
{
    const std::size_t cbUsed = image.mf.Footprint();
    return cbUsed < CARD_MEMORY ? CARD_MEMORY - cbUsed : 0;
}

struct SMachine {
    explicit SMachine(SCardImage cardImage) : image(std::move(cardImage)), session(image.mf) {}
    SMachine(const SMachine&) = delete; // the session points into the image
    SMachine& operator=(const SMachine&) = delete;

    void Reset() { session = CSession(image.mf); }

    SCardImage image;
    CSession session;
};

} // namespace vcard
