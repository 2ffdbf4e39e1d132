// SPDX-License-Identifier: Apache-2.0
//
// The try guard: whether the transports may repeat a command. Internal.

#ifndef CARDLIB_TRYGUARD_H
#define CARDLIB_TRYGUARD_H

#include "cardlib/cktypes.h"

/// Whether a command must reach the card at most once: SETTING_TRY_GUARD is on and the command,
/// plain or protected, carries a secret whose repetition could cost a try.
bool SendOnlyOnce(const CK_BYTE* pbCommand, DWORD cbCommand);

#endif
