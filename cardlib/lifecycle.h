// SPDX-License-Identifier: Apache-2.0
//
// The bracket around administration commands. Internal.

#ifndef CARDLIB_LIFECYCLE_H
#define CARDLIB_LIFECYCLE_H

#include "cardlib/scardcardosm4.h"

/// Keeps a card in its administration life cycle for a scope. Failures of the switch show in the
/// command in between.
class CAdminLifeCycle {
public:
    explicit CAdminLifeCycle(CSCardCardOSM4& card) : m_card(card)
    {
        m_card.SwitchToAdminLifeCycle();
    }
    ~CAdminLifeCycle() { m_card.RevertFromAdminLifeCycle(); }
    CAdminLifeCycle(const CAdminLifeCycle&) = delete;
    CAdminLifeCycle& operator=(const CAdminLifeCycle&) = delete;

private:
    CSCardCardOSM4& m_card;
};

#endif
