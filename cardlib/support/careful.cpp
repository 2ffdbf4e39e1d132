// SPDX-License-Identifier: Apache-2.0

#include "cardlib/support/careful.h"

#include "cardlib/support/settings.h"

constinit thread_local CCareful::ECare CCareful::t_eCare = CCareful::ECare::NOT_SAID;

CCareful::CCareful() : CCareful(Flag(ESetting::TryGuard)) {}

CCareful::CCareful(bool bCareful) : m_eOuter(t_eCare)
{
    if (t_eCare != ECare::CAREFUL) {
        t_eCare = bCareful ? ECare::CAREFUL : ECare::CARELESS;
    }
}

CCareful::~CCareful()
{
    t_eCare = m_eOuter;
}

bool CCareful::Now()
{
    return t_eCare == ECare::NOT_SAID ? Flag(ESetting::TryGuard) : t_eCare == ECare::CAREFUL;
}
