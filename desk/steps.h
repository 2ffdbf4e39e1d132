// SPDX-License-Identifier: Apache-2.0
//
// The operations on a card that is held, known, and asked: each sends its commands and finds out
// what became of them. Internal.

#ifndef DESK_STEPS_H
#define DESK_STEPS_H

#include "desk/attempt.h"

namespace desk {

/// The library's names for what a request says.
constexpr pindesk::ESecret SecretOf(pindesk_secret eSecret)
{
    return static_cast<pindesk::ESecret>(eSecret);
}
inline pindesk::SValue ValueOf(const CValue& value)
{
    return {value.data(), static_cast<long>(value.size())};
}

SResult VerifySteps(CAttempt& attempt);
SResult ChangeSteps(CAttempt& attempt);
SResult UnblockSteps(CAttempt& attempt);
SResult LockSteps(CAttempt& attempt);
SResult ReactivateSteps(CAttempt& attempt);
SResult FamilySteps(CAttempt& attempt);

/// Whether an operation ended at the value that it presents first, or before it.
inline bool AtFirstValue(const CAttempt& attempt, pindesk_secret eSecret)
{
    const pindesk::SStep& step = RowOf(eSecret).verify;
    const long lResult = attempt.Code();
    return !attempt.Acted() || lResult == step.lRefused || lResult == step.lBlocked;
}

} // namespace desk

#endif
