// SPDX-License-Identifier: Apache-2.0
//
// vpcd's protocol: a message of one byte is about power or asks for the ATR, any other is an APDU.

#include "vpcd/plug.h"

#include "vpcd/link.h"

namespace vcard {
namespace {

namespace control {
constexpr std::uint8_t POWER_OFF = 0, POWER_ON = 1, RESET = 2, GET_ATR = 4;
}

// Longer than pcscd's polling period (400 ms), so that programs do see the card gone.
constexpr std::chrono::milliseconds ABSENCE{1000};

void Control(CPluggedCard& card, CVpcdLink& link, std::uint8_t bControl)
{
    switch (bControl) {
    case control::POWER_OFF:
    case control::POWER_ON:
    case control::RESET:
        card.Reset();
        break;
    case control::GET_ATR: // also how vpcd looks whether the card is still there
        link.Send(card.Atr());
        break;
    default: // vpcd has no others, and an APDU has at least four bytes
        break;
    }
}

enum class EEnd { STOPPED, REMOVED, EMPTY_ANSWER };

/// Serves one stay in the reader, and tells what ended it.
EEnd ServeStay(CPluggedCard& card, std::uint16_t usPort, const CStopSignal& stop)
{
    CVpcdLink link(usPort, stop);
    while (const auto message = link.Receive()) {
        if (message->size() == 1) {
            Control(card, link, message->front());
            continue;
        }
        const SExchange exchange = card.Transmit(*message);
        if (exchange.bRemoved) {
            return EEnd::REMOVED;
        }
        if (exchange.answer.empty()) {
            return EEnd::EMPTY_ANSWER;
        }
        link.Send(exchange.answer);
    }
    return EEnd::STOPPED;
}

} // namespace

void ServeVpcd(CPluggedCard& card, std::uint16_t usPort, const CStopSignal& stop)
{
    for (;;) {
        const EEnd end = ServeStay(card, usPort, stop);
        if (end == EEnd::STOPPED || (end == EEnd::REMOVED && !stop.Pause(ABSENCE))) {
            return;
        }
        if (end == EEnd::REMOVED) {
            card.Reset();
        }
        // vpcd has no message for an empty answer. A connection lost during the exchange gives
        // programs one, and pcscd has the card back, never reset, with its next look at the reader.
    }
}

} // namespace vcard
