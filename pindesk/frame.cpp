// SPDX-License-Identifier: Apache-2.0
//
// Where an operation begins on the card.

#include "pindesk/frame.h"

namespace pindesk {

namespace {

long SelectDf(CSCardZentaris34& card, WORD fid)
{
    const bool bSelected = card.SelectEx2(fid, nullptr, eFidDF, CCareful::Now()) == 0;
    return bSelected ? result::OK : result::SELECT_FAILED;
}

} // namespace

long SelectMf(CSCardZentaris34& card)
{
    if (!CCareful::Now()) {
        return SelectDf(card, M4_MF);
    }
    // by path: a session that stands nowhere yet would select the MF first, to select it then
    return card.PathSelectWORD2(nullptr, 0, 1, 1) == 0 ? result::OK : result::SELECT_FAILED;
}

long SelectSignatureDf(CSCardZentaris34& card)
{
    return SelectDf(card, FileId(ESetting::DsRoot));
}

} // namespace pindesk
