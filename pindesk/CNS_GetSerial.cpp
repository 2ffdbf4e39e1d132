// SPDX-License-Identifier: Apache-2.0

#include "pindesk/operation.h"

#include "cardlib/utils.h"
#include "pindesk/settings.h"

#include <algorithm>
#include <iterator>

namespace {

/// The identity file holds the serial number as 16 characters; they are taken as they are.
long ReadIdentityFile(CSCardZentaris34& card, char* serialNumber)
{
    if (card.SelectEx(FileIdSetting("SETTING_CNS_DF0_EF_ID_Carta"), nullptr, eFidEF) != 0) {
        return result::SELECT_FAILED;
    }
    auto* const pb = reinterpret_cast<CK_BYTE*>(serialNumber);
    return card.ReadBinary(0, SERIAL_LENGTH, pb) == 0 ? result::OK : result::SERIAL_UNREADABLE;
}

/// Older cards hold it in BCD, in the file of global data objects.
long ReadGlobalDataObjects(CSCardZentaris34& card, char* serialNumber)
{
    constexpr WORD kOffset = 18;
    CK_BYTE bcd[SERIAL_LENGTH / 2];
    std::fill(std::begin(bcd), std::end(bcd), CK_BYTE{0x20});
    const long lResult = card.SelectEx(M4_GDO, nullptr, eFidEF);
    if (lResult != 0) {
        serialNumber[SERIAL_LENGTH] = '\0';
        return lResult; // a status word, the one exception among the results: hosts expect it
    }
    if (card.ReadBinary(kOffset, sizeof bcd, bcd) != 0) {
        return result::SERIAL_UNREADABLE;
    }
    BCD2ASC(serialNumber, bcd, sizeof bcd);
    return result::OK;
}

} // namespace

long CNS_GetSerial(long slot, char* serialNumber)
{
    if (serialNumber == nullptr) {
        return result::MISSING_ARGUMENT;
    }
    return RunOperation(slot, nullptr, EStart::MF_SELECTED, [&](CSCardZentaris34& card) {
        const bool bIdentity =
            card.SelectEx(FileIdSetting("SETTING_CNS_DF0"), nullptr, eFidDF) == 0;
        const long lResult = bIdentity ? ReadIdentityFile(card, serialNumber)
                                       : ReadGlobalDataObjects(card, serialNumber);
        if (lResult == result::OK) {
            serialNumber[SERIAL_LENGTH] = '\0';
        }
        return lResult;
    });
}
