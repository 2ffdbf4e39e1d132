// SPDX-License-Identifier: Apache-2.0
//
// What careful work asks of the transports: which commands they may repeat, and how often. Internal.

#ifndef CARDLIB_SESSIONS_TRYGUARD_H
#define CARDLIB_SESSIONS_TRYGUARD_H

#include "cardlib/cktypes.h"

constexpr int SEND_ATTEMPTS = 10;

/// Whether a command, plain or protected, presents or sets a PIN or PUK, or proves a key.
bool CarriesSecret(const CK_BYTE* pbCommand, DWORD cbCommand);

/// Whether a command, plain or protected, must reach the card at most once: the thread is careful,
/// and a repetition could cost a try or do twice what was meant once.
bool SendOnlyOnce(const CK_BYTE* pbCommand, DWORD cbCommand);

#endif
