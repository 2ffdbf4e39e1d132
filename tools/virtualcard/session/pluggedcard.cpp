// SPDX-License-Identifier: Apache-2.0
//
// The way of one command: latency, fault, model, files, log.

#include "session/pluggedcard.h"

#include <algorithm>
#include <stdexcept>
#include <thread>

namespace vcard {
namespace {

constexpr std::size_t TOO_LONG = 300; // bytes; a short APDU's answer has at most 258

Bytes StatusWord(std::uint32_t ulValue)
{
    return {static_cast<std::uint8_t>(ulValue >> 8U), static_cast<std::uint8_t>(ulValue)};
}

} // namespace

CPluggedCard::CPluggedCard(const SPluggedCardOptions& options)
    : m_card(options.card), m_faults(options.faults), m_latency(options.latency),
      m_state(options.statePath), m_counters(options.countersPath), m_log(options.log)
{
    try {
        if (const auto state = m_state.Load()) {
            m_card.LoadState(*state);
        }
    } catch (const std::invalid_argument& error) {
        throw std::invalid_argument(options.statePath.string() + ": " + error.what());
    }
    Save();
}

void CPluggedCard::Reset()
{
    m_log.Note("reset");
    m_card.Reset();
}

SExchange CPluggedCard::Transmit(std::span<const std::uint8_t> command)
{
    std::this_thread::sleep_for(m_latency);
    m_log.Command(command);
    const auto fault = m_faults.Next();
    SExchange exchange = fault ? Spoil(*fault, command) : SExchange{Execute(command)};
    if (exchange.bRemoved || exchange.ulPcscError != 0) {
        m_log.Note(exchange.bRemoved ? "card removed" : "failed as asked");
        return exchange;
    }
    m_log.Answer(exchange.answer);
    return exchange;
}

Bytes CPluggedCard::Execute(std::span<const std::uint8_t> command)
{
    Bytes answer = m_card.Transmit(command);
    Save();
    return answer;
}

SExchange CPluggedCard::Spoil(const SFault& fault, std::span<const std::uint8_t> command)
{
    Bytes answer = fault.bAfter ? Execute(command) : Bytes{};
    switch (fault.kind) {
    case SFault::EKind::EMPTY:
        return {};
    case SFault::EKind::SHORT:
        answer.resize(1);
        return {answer};
    case SFault::EKind::LONG:
        answer.insert(answer.begin(), TOO_LONG - std::min(answer.size(), TOO_LONG), 0);
        return {answer};
    case SFault::EKind::STATUS_WORD:
        return {StatusWord(fault.ulValue)};
    case SFault::EKind::REMOVED:
        return {.bRemoved = true};
    case SFault::EKind::PCSC:
        return {.ulPcscError = fault.ulValue};
    }
    return {};
}

void CPluggedCard::Save()
{
    if (m_state.Wanted()) {
        m_state.Save(m_card.State());
    }
    if (m_counters.Wanted()) {
        m_counters.Save(m_card.Counters());
    }
}

} // namespace vcard
