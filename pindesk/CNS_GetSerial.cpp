// SPDX-License-Identifier: Apache-2.0

#include "cardlib/utils.h"
#include "pindesk/frame.h"
#include "pindesk/serial.h"

#include <algorithm>
#include <cstring>
#include <iterator>

using namespace pindesk;

namespace {

/// The identity file holds the serial number as 16 characters; they are taken as they are.
long ReadIdentityFile(CSCardZentaris34& card, char* szSerial)
{
    if (card.SelectEx(FileId(ESetting::SerialNumberFile), nullptr, eFidEF) != 0) {
        return result::SELECT_FAILED;
    }
    auto* const pb = reinterpret_cast<CK_BYTE*>(szSerial);
    return card.ReadBinary(0, SERIAL_LENGTH, pb) == 0 ? result::OK : result::SERIAL_UNREADABLE;
}

/// Older cards hold it in BCD, in the file of global data objects.
long ReadGlobalDataObjects(CSCardZentaris34& card, char* szSerial)
{
    constexpr WORD OFFSET = 18;
    CK_BYTE bcd[SERIAL_LENGTH / 2];
    std::fill(std::begin(bcd), std::end(bcd), CK_BYTE{0x20});
    const long lResult = card.SelectEx(M4_GDO, nullptr, eFidEF);
    if (lResult != 0) {
        szSerial[SERIAL_LENGTH] = '\0';
        return lResult; // a status word, the one exception among the results: hosts expect it
    }
    if (card.ReadBinary(OFFSET, sizeof bcd, bcd) != 0) {
        return result::SERIAL_UNREADABLE;
    }
    BCD2ASC(szSerial, bcd, sizeof bcd);
    return result::OK;
}

} // namespace

long pindesk::ReadSerial(CSCardZentaris34& card, char* szSerial)
{
    long lResult = SelectMf(card);
    if (lResult != result::OK) {
        return lResult;
    }
    const bool bIdentity = card.SelectEx(FileId(ESetting::IdentityDf), nullptr, eFidDF) == 0;
    lResult = bIdentity ? ReadIdentityFile(card, szSerial) : ReadGlobalDataObjects(card, szSerial);
    if (lResult == result::OK) {
        szSerial[SERIAL_LENGTH] = '\0';
    }
    return lResult;
}

long pindesk::CompareSerial(CSCardZentaris34& card, const char* szExpected)
{
    char szFound[SERIAL_LENGTH + 1] = {};
    if (const long lResult = ReadSerial(card, szFound); lResult != result::OK) {
        return lResult;
    }
    const bool bSame = std::strncmp(szExpected, szFound, SERIAL_LENGTH) == 0;
    return bSame ? result::OK : result::OTHER_CARD;
}

long CNS_GetSerial(long slot, char* serialNumber)
{
    if (serialNumber == nullptr) {
        return result::MISSING_ARGUMENT;
    }
    return RunWithSettings([&] {
        CCnsFrame frame;
        const long lResult = frame.Open(slot);
        return lResult != result::OK ? lResult : ReadSerial(frame.Card(), serialNumber);
    });
}
