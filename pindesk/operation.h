// SPDX-License-Identifier: Apache-2.0
//
// The frame of every operation: slot and serial-number check, context, reader, card object and
// transaction, acquired in this order and given back by the scope of CHeldCard. Internal.

#ifndef PINDESK_OPERATION_H
#define PINDESK_OPERATION_H

#include "cardlib/scardzentaris34.h"
#include "pindesk/PinDesk.h"
#include "pindesk/heldcard.h"

#include <exception>

constexpr std::size_t SERIAL_LENGTH = 16;

/// How far the frame goes before the operation's own steps.
enum class EStart { MF_SELECTED, CONNECTED };

/// Opens an operation's card: checks slot and serial number, holds the card, selects the MF.
/// \param szExpectedSerial  16 characters that the card must have, or null for any card.
/// \return OK, or the operation's result.
long OpenFrame(CHeldCard<CSCardZentaris34>& held, long slot, const char* szExpectedSerial,
               EStart eStart);

/// Opens the frame and runs an operation's own steps, long(CSCardZentaris34&), on the card.
/// \return the frame's failure or what the steps return. A lack of memory counts as no context.
template <typename TSteps>
long RunOperation(long slot, const char* szExpectedSerial, EStart eStart, TSteps steps)
{
    try {
        CHeldCard<CSCardZentaris34> held;
        const long lResult = OpenFrame(held, slot, szExpectedSerial, eStart);
        return lResult != result::OK ? lResult : steps(held.Card());
    } catch (const std::exception&) {
        return result::NO_CONTEXT;
    }
}

/// Compares the card in a slot with an expected serial number.
/// \return OK, OTHER_CARD, or the failure of CNS_GetSerial.
long CheckSerial(long slot, const char* szExpectedSerial);

#endif
