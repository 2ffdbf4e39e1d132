// SPDX-License-Identifier: Apache-2.0
//
// Patterns of answers to reset. A mask byte of 00 lets any byte pass: versions, timing parameters
// and the check byte at the end.

#include "known_atrs.h"

#include "pindesk/PCSC_Misc.h"

namespace tool {

namespace {

struct AtrPattern {
    const char* name;
    const char* atr;
    const char* mask;
};

constexpr AtrPattern kPatterns[] = {
    {"national services card", // "CNS" among the historical bytes
     "3BFF1800FF8131FE55006B02090200011101434E531131808E",
     "FFFF0000FFFFFF0000FFFF00000000000000FFFFFF00000000"},
    {"CardOS M4", "3BF2180002C10A31FE58C80874", "FFFFFF0000FFFFFFFFFFFF0000"},
    {"PinDesk's virtual card (T=1)", "3B8B01805750494E4445534B610000",
     "FFFFFFFFFFFFFFFFFFFFFFFFFF0000"},
    {"PinDesk's virtual card (T=0)", "3B0B805750494E4445534B6100", "FFFFFFFFFFFFFFFFFFFFFFFF00"},
};

} // namespace

const char* KnownAtr(const std::string& atr)
{
    for (const AtrPattern& pattern : kPatterns) {
        if (PCSC_AtrCmp(atr.c_str(), pattern.atr, pattern.mask) == 0) {
            return pattern.name;
        }
    }
    return nullptr;
}

} // namespace tool
