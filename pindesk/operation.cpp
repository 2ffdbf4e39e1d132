// SPDX-License-Identifier: Apache-2.0

#include "pindesk/operation.h"

#include "pindesk/serial.h"

#include <string>

namespace pindesk {

namespace {

/// Checks the number over a connection of its own.
/// \param reader  receives the name of the reader that the card is in.
long FindCard(long slot, const char* szExpectedSerial, std::string& reader)
{
    CCnsFrame frame;
    if (const long lResult = frame.Open(slot); lResult != result::OK) {
        return lResult;
    }
    reader = frame.Reader();
    return CompareSerial(frame.Card(), szExpectedSerial);
}

/// Opens the frame on the expected card.
long OpenExpected(CCnsFrame& frame, long slot, const char* szExpectedSerial)
{
    if (CCareful::Now()) {
        const long lResult = frame.Open(slot);
        return lResult != result::OK ? lResult : CompareSerial(frame.Card(), szExpectedSerial);
    }
    std::string reader;
    if (const long lResult = FindCard(slot, szExpectedSerial, reader); lResult != result::OK) {
        SCardReleaseContext(0); // there is none yet; hosts' PC/SC logs show this call
        return lResult;
    }
    return frame.Open(slot, reader.c_str());
}

} // namespace

long CheckSerial(long slot, const char* szExpectedSerial)
{
    std::string reader;
    return FindCard(slot, szExpectedSerial, reader);
}

long OpenOperation(CCnsFrame& frame, long slot, const char* szExpectedSerial, EStart eStart)
{
    if (slot < 1) {
        return result::NO_READER;
    }
    const long lResult = szExpectedSerial != nullptr ? OpenExpected(frame, slot, szExpectedSerial)
                                                     : frame.Open(slot);
    if (lResult != result::OK || eStart == EStart::CONNECTED) {
        return lResult;
    }
    return SelectMf(frame.Card());
}

} // namespace pindesk
