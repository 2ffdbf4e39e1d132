// SPDX-License-Identifier: Apache-2.0
//
// vpcd's protocol: a message of one byte is about power or asks for the ATR, any other is an APDU.

#include "vpcd/plug.h"

#include "vpcd/link.h"

#include <optional>

namespace vcard {
namespace {

namespace control {
constexpr std::uint8_t POWER_OFF = 0, POWER_ON = 1, RESET = 2, GET_ATR = 4;
}

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

/// Serves one stay in the reader, and tells what befell the card in the end: no event where an
/// answer was empty. Nothing when asked to stop.
std::optional<EEvent> ServeStay(CPluggedCard& card, std::uint16_t usPort, const CStopSignal& stop)
{
    CVpcdLink link(usPort, stop);
    while (const auto message = link.Receive()) {
        if (message->size() == 1) {
            Control(card, link, message->front());
            continue;
        }
        const SExchange exchange = card.Transmit(*message);
        if (exchange.event != EEvent::NONE || exchange.answer.empty()) {
            return exchange.event;
        }
        link.Send(exchange.answer);
    }
    return std::nullopt;
}

} // namespace

void ServeVpcd(CPluggedCard& card, const SVpcdOptions& options, const CStopSignal& stop)
{
    if (!stop.Pause(options.arrival)) {
        return;
    }
    while (const auto event = ServeStay(card, options.usPort, stop)) {
        // vpcd has no message for an empty answer. A connection lost during the exchange gives
        // programs one, and pcscd has the card back, never reset, with its next look at the reader.
        if (*event == EEvent::NONE) {
            continue;
        }
        card.Play(*event);
        const bool bBack = *event == EEvent::PULLED ? stop.Await() : stop.Pause(options.absence);
        if (!bBack) {
            return;
        }
    }
}

} // namespace vcard
