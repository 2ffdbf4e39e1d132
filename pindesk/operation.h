// SPDX-License-Identifier: Apache-2.0
//
// The beginning of every operation on a card that may be expected: the frame, and the check of the
// serial number. Internal.

#ifndef PINDESK_OPERATION_H
#define PINDESK_OPERATION_H

#include "pindesk/frame.h"

namespace pindesk {

/// How far an operation is opened before its own steps.
enum class EStart { MF_SELECTED, CONNECTED };

/// Opens the frame of an operation on the expected card.
///
/// The number is read over a connection of its own, and the operation's then goes to the reader of
/// the same name. Careful, it is read in the transaction that the operation works in, so that no
/// other card can take the place of the one that was checked.
/// \param szExpectedSerial  up to 16 characters that the card must have, or null for any card.
/// \return OK, or the operation's result.
long OpenOperation(CCnsFrame& frame, long slot, const char* szExpectedSerial, EStart eStart);

/// Compares the card in a slot with an expected serial number, over a connection of its own.
/// \return OK, OTHER_CARD, or the failure of CNS_GetSerial.
long CheckSerial(long slot, const char* szExpectedSerial);

/// Opens an operation and runs its own steps, long(CSCardZentaris34&), on the card.
/// \return the failure of the opening or what the steps return.
template <typename TSteps>
long RunOperation(long slot, const char* szExpectedSerial, EStart eStart, TSteps steps)
{
    return RunWithSettings([&] {
        CCnsFrame frame;
        const long lResult = OpenOperation(frame, slot, szExpectedSerial, eStart);
        return lResult != result::OK ? lResult : steps(frame.Card());
    });
}

} // namespace pindesk

#endif
