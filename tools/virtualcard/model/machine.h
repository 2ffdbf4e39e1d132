// SPDX-License-Identifier: Apache-2.0
//
// The card as its commands see it: the image that survives a restart and the powered session.
#ifndef TOOLS_VIRTUALCARD_MODEL_MACHINE_H
#define TOOLS_VIRTUALCARD_MODEL_MACHINE_H

#include "model/session.h"

#include <string>

namespace vcard {

enum class ELifeCycle : std::uint8_t { OPERATIONAL = 0x10, ADMINISTRATION = 0x20 };

/// How an answer to a command with data travels.
enum class ET0Answers : std::uint8_t {
    WHOLE,    ///< at once, as over T=1
    COUNTED,  ///< 61xx, xx the number of bytes (00 for 256), then GET RESPONSE
    UNCOUNTED ///< 61 00 whatever its length, then GET RESPONSE
};

/// Everything that survives a restart, and the traits of the profile.
struct SCardImage {
    std::string strProfile;
    ELifeCycle lifeCycle = ELifeCycle::OPERATIONAL;
    bool bUnpadded = false;      ///< PINs are stored without filler bytes
    bool bStaysVerified = false; ///< a changed PIN counts as verified
    ET0Answers t0Answers = ET0Answers::WHOLE;
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

#endif
