// SPDX-License-Identifier: Apache-2.0
//
// A reader with a card that a fault can take out for a moment.

#include "inprocess/reader.h"

namespace vcard {
namespace {

constexpr std::chrono::milliseconds ABSENCE{1000};

} // namespace

CReader::CReader(const SSettings& settings)
    : m_strName(settings.strReader), m_plugged(settings.session),
      m_dwProtocol(settings.session.card.bT1 ? SCARD_PROTOCOL_T1 : SCARD_PROTOCOL_T0),
      m_back(Clock::now())
{
}

void CReader::Reset()
{
    ++m_ulResets;
    m_plugged.Reset();
}

LONG CReader::Transmit(std::span<const std::uint8_t> command, Bytes& answer)
{
    SExchange exchange = m_plugged.Transmit(command);
    answer = std::move(exchange.answer);
    if (exchange.bRemoved) {
        m_back = Clock::now() + ABSENCE;
        ++m_ulRemovals;
        m_plugged.Reset();
    }
    return static_cast<LONG>(exchange.ulPcscError);
}

} // namespace vcard
