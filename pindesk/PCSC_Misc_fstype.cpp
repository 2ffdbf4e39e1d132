// SPDX-License-Identifier: Apache-2.0
//
// Recognising a card: its answer to reset under a mask, and the layout of its files.

#include "pindesk/PCSC_Misc.h"

#include "cardlib/support/settings.h"
#include "pindesk/plaincard.h"

#include <cstdlib>
#include <cstring>

using namespace pindesk;

namespace {
constexpr long MATCH = 0, NO_MATCH = -1;
constexpr WORD MF = 0x3F00, FAST_FILES_DF = 0x2FFF, FIRST_FILE = 0x0000;
constexpr WORD DF_1111 = 0x1111, DF_1112 = 0x1112, EF_EF01 = 0xEF01;

/// The byte at position i of a hexadecimal text; digits count up to the first that is none.
unsigned HexByte(const char* szText, std::size_t i)
{
    const char szPair[] = {szText[2 * i], szText[2 * i + 1], '\0'};
    return static_cast<unsigned>(std::strtoul(szPair, nullptr, 16));
}

/// The CNS application is there: is there a signature application beside it?
long DetectBesideCns(CSelector& files, long* scardType)
{
    *scardType = layout::CNS;
    files.Select(MF);
    if (files.Select(FileId(ESetting::DsRoot))) {
        *scardType = layout::CNS_AND_DS;
    }
    return files.LastResult();
}

/// Any of the first layouts may carry one more application, which then decides.
void DetectDf1112(CSelector& files, long* scardType)
{
    files.Select(MF);
    if (files.Select(DF_1112) && files.Select(EF_EF01, eFidEF)) {
        *scardType = layout::WITH_DF_1112;
    }
}

/// DF 2FFF with a first file of two bytes or more. \return whether it is there.
bool DetectFastFiles(CSCard& card, CSelector& files, long* scardType)
{
    CK_BYTE ab[2] = {};
    if (!files.Select(FAST_FILES_DF) || !files.Select(FIRST_FILE, eFidEF) ||
        card.ReadBinary(0, sizeof ab, ab) != 0) {
        return false;
    }
    *scardType = ab[0] != 0 ? layout::FAST_FILES : layout::UNKNOWN;
    return true;
}

long DetectOthers(CSCard& card, CSelector& files, long* scardType)
{
    if (DetectFastFiles(card, files, scardType)) {
        return files.LastResult();
    }
    files.Select(FIRST_FILE);
    if (files.Select(DF_1111)) {
        *scardType = layout::DF_1111;
    }
    return files.LastResult();
}

} // namespace

long pindesk::DetectLayout(CSCard& card, long* scardType)
{
    CSelector files(card);
    if (!files.SelectMf()) {
        return result::SELECT_FAILED;
    }
    *scardType = layout::UNKNOWN;
    long lResult = result::OK;
    if (files.Select(FileId(ESetting::CnsDf))) {
        lResult = DetectBesideCns(files, scardType);
    } else if (files.Select(FileId(ESetting::OtherDsDf))) {
        *scardType = layout::OTHER_DS;
        lResult = files.LastResult();
    } else {
        return DetectOthers(card, files, scardType);
    }
    DetectDf1112(files, scardType);
    return lResult;
}

long PCSC_AtrCmp(LPCTSTR szAtr1, LPCTSTR szAtr2, LPCTSTR szAtrMask)
{
    if (!szAtr1 || !szAtr2 || !szAtrMask) {
        return NO_MATCH;
    }
    const std::size_t cb = std::strlen(szAtr1) / 2;
    if (std::strlen(szAtr2) / 2 != cb || std::strlen(szAtrMask) / 2 != cb) {
        return NO_MATCH;
    }
    for (std::size_t i = 0; i < cb; ++i) {
        if ((HexByte(szAtrMask, i) & (HexByte(szAtr1, i) ^ HexByte(szAtr2, i))) != 0) {
            return NO_MATCH;
        }
    }
    return MATCH;
}

long PCSC_GetFSType(long slot, long* scardType)
{
    if (!scardType) {
        return result::MISSING_ARGUMENT;
    }
    const long lResult =
        WithPlainCard(slot, [&](CSCard& card) { return DetectLayout(card, scardType); });
    // a card that lets nothing be selected counts as none
    return lResult == result::SELECT_FAILED ? result::NO_READER : lResult;
}
