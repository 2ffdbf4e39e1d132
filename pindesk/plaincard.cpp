// SPDX-License-Identifier: Apache-2.0
//
// The tolerant selection.

#include "pindesk/plaincard.h"

namespace pindesk {

namespace {
constexpr WORD MF = 0x3F00;
constexpr long SELECTED_WITHOUT_FCI = 0x6284;
} // namespace

bool CSelector::SelectMf()
{
    if (Select(MF)) {
        return true;
    }
    m_bAskForFci = true;
    return Select(MF);
}

bool CSelector::Select(WORD fid, int fidType)
{
    DWORD cbFile = 0;
    m_lResult = m_card.SelectEx(fid, m_bAskForFci ? &cbFile : nullptr, fidType);
    return m_lResult == 0 || m_lResult == SELECTED_WITHOUT_FCI;
}

} // namespace pindesk
