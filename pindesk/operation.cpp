// SPDX-License-Identifier: Apache-2.0

#include "pindesk/operation.h"

namespace {

/// Byte by byte up to the first difference: a host's shorter string is not read past its end.
bool SameSerial(const char* szExpected, const char* szCard)
{
    for (std::size_t i = 0; i < SERIAL_LENGTH; ++i) {
        if (szExpected[i] != szCard[i]) {
            return false;
        }
    }
    return true;
}

} // namespace

long CheckSerial(long slot, const char* szExpectedSerial)
{
    char serial[SERIAL_LENGTH + 1] = {};
    const long lResult = CNS_GetSerial(slot, serial);
    if (lResult != result::OK) {
        return lResult;
    }
    return SameSerial(szExpectedSerial, serial) ? result::OK : result::OTHER_CARD;
}

long OpenFrame(CHeldCard<CSCardZentaris34>& held, long slot, const char* szExpectedSerial,
               EStart eStart)
{
    if (slot < 1) {
        return result::NO_READER;
    }
    if (szExpectedSerial != nullptr) {
        const long lResult = CheckSerial(slot, szExpectedSerial);
        if (lResult != result::OK) {
            SCardReleaseContext(0); // there is none yet; hosts' PC/SC logs show this call
            return lResult;
        }
    }
    const long lResult = held.Open(slot);
    if (lResult != result::OK || eStart == EStart::CONNECTED) {
        return lResult;
    }
    const bool bSelected = held.Card().SelectEx(M4_MF, nullptr, eFidDF) == 0;
    return bSelected ? result::OK : result::SELECT_FAILED;
}
