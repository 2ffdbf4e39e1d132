// SPDX-License-Identifier: Apache-2.0
//
// The one place where status words become results.

#include "pindesk/answers.h"

namespace pindesk {

long ResultOf(const SStep& step, long lAnswer)
{
    switch (lAnswer) {
    case 0:
        return result::OK;
    case NO_STATUS_WORD:
        return result::READER_FAILED;
    case sw::SM_OBJECTS_MISSING:
    case sw::SM_OBJECTS_WRONG:
    case sw::WRONG_DATA:
        return step.bSmHasCode ? result::SECURE_MESSAGING : step.lRefused;
    case sw::AUTH_BLOCKED:
        return step.lBlocked;
    default:
        return step.lRefused;
    }
}

bool IsRefusal(long lAnswer)
{
    constexpr long FIRST = 0x6200, LAST = 0x6FFF; // ISO/IEC 7816-4: warnings and errors
    constexpr long OTHER_LENGTH = 0x6C00;         // asks for the same command once more
    return lAnswer >= FIRST && lAnswer <= LAST && lAnswer != sw::NO_DIAGNOSIS &&
           (lAnswer & ~0xFFL) != OTHER_LENGTH;
}

bool IsWrongKey(long lAnswer)
{
    constexpr long COUNTED = 0x6300; // with or without the number of tries left
    return (lAnswer & ~0xFFL) == COUNTED;
}

} // namespace pindesk
