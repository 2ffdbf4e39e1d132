// SPDX-License-Identifier: Apache-2.0

#include "desk/dialogue.h"

#include "cardlib/sessions/iso7816.h"
#include "cardlib/sessions/tryguard.h"
#include "desk/transcript.h"

namespace desk {

bool CDialogue::MayLeave(const std::uint8_t* pbCommand, std::size_t cbCommand) noexcept
{
    if (!m_call.GoOn()) {
        return false;
    }
    m_bInstruction = pbCommand[1];
    ++m_call.report.exchanges;
    const bool bActs = CarriesSecret(pbCommand, cbCommand) || m_bInstruction == ins::DEACTIVATE ||
                       m_bInstruction == ins::ACTIVATE;
    m_call.report.secrets_sent += bActs ? 1 : 0;
    m_bActed |= bActs;
    if (m_call.transcript != nullptr) {
        m_call.transcript->Leaves({pbCommand, cbCommand});
    }
    return true;
}

void CDialogue::CameBack(long lResult, const std::uint8_t* pbAnswer, std::size_t cbAnswer) noexcept
{
    const bool bBlocked = cbAnswer >= 2 && pbAnswer[cbAnswer - 2] == sw::AUTH_BLOCKED >> 8 &&
                          pbAnswer[cbAnswer - 1] == (sw::AUTH_BLOCKED & 0xFF);
    m_bAdminKeyBlocked |= m_bInstruction == ins::EXTERNAL_AUTHENTICATE && bBlocked;
    if (m_call.transcript != nullptr) {
        m_call.transcript->CameBack(lResult, {pbAnswer, cbAnswer});
    }
}

} // namespace desk
