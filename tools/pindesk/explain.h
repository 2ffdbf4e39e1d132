// SPDX-License-Identifier: Apache-2.0
//
// What the result codes of the library mean, and what they say about how far an operation came.

#ifndef TOOLS_PINDESK_EXPLAIN_H
#define TOOLS_PINDESK_EXPLAIN_H

#include "outcome.h"

namespace tool {

/// What an operation had done by the time it ended with a code.
enum class Stage {
    NothingSent,  ///< no secret reached the card
    AtSecret,     ///< a secret was presented and not accepted, or the reader failed just then
    AtBlocked,    ///< as the card says, or the reader failed just then
    AfterSecret,  ///< the secret was right; the card refused what followed
    AtNewValue,   ///< the secret was right; the new value was refused, or the reader failed
    AtProtection, ///< the card refused the secure messaging
};

struct CodeMeaning {
    long code;
    ExitStatus status;
    Stage stage;
    const char* meaning;
    const char* advice;
};

/// Null for a code that the library does not have.
const CodeMeaning* FindCode(long code);

/// A code that the table does not know is an internal error.
const CodeMeaning& MeaningOf(long code);

/// The outcome of an operation that ended with a code, in the table's words.
Outcome ExplainedOutcome(long code);

} // namespace tool

#endif
