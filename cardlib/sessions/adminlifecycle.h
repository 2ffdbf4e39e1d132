// SPDX-License-Identifier: Apache-2.0
//
// The bracket around administration commands. Internal.

#ifndef CARDLIB_SESSIONS_ADMINLIFECYCLE_H
#define CARDLIB_SESSIONS_ADMINLIFECYCLE_H

#include "cardlib/scardcardosm4.h"
#include "cardlib/support/careful.h"

/// Keeps a card in its administration life cycle for one command. Failures of the switch show in
/// that command.
class CAdminLifeCycle {
public:
    explicit CAdminLifeCycle(CSCardCardOSM4& card) : m_card(card)
    {
        m_card.SwitchToAdminLifeCycle();
    }
    ~CAdminLifeCycle()
    {
        if (m_bOpen) {
            m_card.RevertFromAdminLifeCycle();
        }
    }
    CAdminLifeCycle(const CAdminLifeCycle&) = delete;
    CAdminLifeCycle& operator=(const CAdminLifeCycle&) = delete;

    /// Switches back. \return the command's result; for careful work the failure to switch back
    ///         where that would leave the card in administration behind a success.
    long End(long lResult)
    {
        m_bOpen = false;
        const long lReverted = m_card.RevertFromAdminLifeCycle();
        return lResult == 0 && CCareful::Now() ? lReverted : lResult;
    }

private:
    CSCardCardOSM4& m_card;
    bool m_bOpen = true;
};

#endif
