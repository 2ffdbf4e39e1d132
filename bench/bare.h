// SPDX-License-Identifier: Apache-2.0
//
// The least that a PC/SC program must do for the answers of an operation: the same commands, in one
// connection, without a look at any result.

#ifndef BENCH_BARE_H
#define BENCH_BARE_H

#include "tests/support/bytes.h"

/// \name The operations on a fresh virtual card in this slot
///@{
void BareGetSerial(long lSlot);
/// The signature PIN into what it is already.
void BareChange(long lSlot);
void BareProtectedChange(long lSlot);
///@}

#endif
