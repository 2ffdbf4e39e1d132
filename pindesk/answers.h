// SPDX-License-Identifier: Apache-2.0
//
// What the card's answers come to. Internal.

#ifndef PINDESK_ANSWERS_H
#define PINDESK_ANSWERS_H

#include "cardlib/sessions/apdu.h"
#include "pindesk/PinDesk.h"

namespace pindesk {

/// The results of one step of an operation, a row of it.
struct SStep {
    long lRefused;   ///< any answer that has no code of its own
    long lBlocked;   ///< 6983
    bool bSmHasCode; ///< 6987, 6988 and 6A80 give SECURE_MESSAGING here
};

/// An answer of an operation's own command that brought no status word: whether the card has
/// carried it out is not known.
constexpr long NO_STATUS_WORD = -0x10000;

/// The result of a step.
/// \param lAnswer  0, a status word, NO_STATUS_WORD, or whatever failed the exchange.
long ResultOf(const SStep& step, long lAnswer);

/// Whether an answer is a status word with which the card itself refused: not a failed exchange,
/// nor 6F00, which stands for a missing status word too, nor 6Cxx, which is about Le alone.
bool IsRefusal(long lAnswer);

/// Whether an answer to EXTERNAL AUTHENTICATE says that the key was wrong, and a try is gone.
bool IsWrongKey(long lAnswer);

/// What a step came to.
struct SOutcome {
    long lResult; ///< as the exported operation returns it
    long lAnswer; ///< the one that decided: see ResultOf
};

inline SOutcome OutcomeOf(const SStep& step, long lAnswer)
{
    return {.lResult = ResultOf(step, lAnswer), .lAnswer = lAnswer};
}

} // namespace pindesk

#endif
