// SPDX-License-Identifier: Apache-2.0
//
// What a session may no longer believe of its card. Internal.

#ifndef CARDLIB_SESSIONS_POSITION_H
#define CARDLIB_SESSIONS_POSITION_H

class CSCard;
class CSCardCardOSM4;

/// Empties the paths and the cache of a session of whatever family: its card will be another.
void ForgetCard(CSCard& session);

/// The card may have moved from the current paths: the next command that needs them selects them.
void LosePosition(CSCardCardOSM4& session);

#endif
