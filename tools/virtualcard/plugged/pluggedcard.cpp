// SPDX-License-Identifier: Apache-2.0
//
// The way of one command: latency, fault, model, files, log.

#include "plugged/pluggedcard.h"

#include "model/atr.h"
#include "model/iso7816.h"

#include <algorithm>
#include <stdexcept>
#include <thread>

namespace vcard {
namespace {

constexpr const char* OTHER_SERIAL = "6200000000000999";

Bytes StatusWord(std::uint32_t ulValue)
{
    return {static_cast<std::uint8_t>(ulValue >> 8U), static_cast<std::uint8_t>(ulValue)};
}

/// Exactly as many bytes: cut at the end, or behind zeros where there are too few.
Bytes Resized(Bytes answer, std::size_t cb)
{
    answer.insert(answer.begin(), cb - std::min(answer.size(), cb), 0);
    answer.resize(cb);
    return answer;
}

Bytes WithWrongMac(Bytes answer)
{
    if (answer.size() > sw::LENGTH) {
        answer[answer.size() - sw::LENGTH - 1] ^= 0xFF;
    }
    return answer;
}

} // namespace

CPluggedCard::CPluggedCard(const SPluggedCardOptions& options)
    : m_options(options.card), m_replay(options.replay),
      m_pCard(std::make_unique<CCard>(options.card)), m_faults(options.faults),
      m_latency(options.latency), m_state(options.statePath), m_counters(options.countersPath),
      m_log(options.log)
{
    try {
        if (const auto state = m_state.Load()) {
            m_pCard->LoadState(*state);
        }
    } catch (const std::invalid_argument& error) {
        throw std::invalid_argument(options.statePath.string() + ": " + error.what());
    }
    Save();
}

Bytes CPluggedCard::Atr() const
{
    return m_replay ? m_replay->Atr() : Inserted().Atr();
}

bool CPluggedCard::IsT1() const
{
    return OffersT1(Atr());
}

void CPluggedCard::Reset()
{
    m_log.Note("reset");
    Inserted().Reset();
}

void CPluggedCard::Play(EEvent event)
{
    if (event == EEvent::SWAPPED) {
        Swap();
    }
    Reset();
}

SExchange CPluggedCard::Transmit(std::span<const std::uint8_t> command)
{
    std::this_thread::sleep_for(m_latency);
    m_log.Command(command);
    const auto fault = m_faults.Next();
    SExchange exchange = fault ? Spoil(*fault, command) : Execute(command);
    if (exchange.event != EEvent::NONE || exchange.ulPcscError != 0) {
        m_log.Note("failed as asked");
        return exchange;
    }
    m_log.Answer(exchange.answer);
    return exchange;
}

nlohmann::json CPluggedCard::Counters() const
{
    nlohmann::json counters = m_pCard->Counters();
    counters["card"]["apdus"] = m_faults.Apdus();
    if (m_pOther != nullptr) {
        counters["other-card"] = m_pOther->Counters();
    }
    return counters;
}

SExchange CPluggedCard::Execute(std::span<const std::uint8_t> command)
{
    if (m_replay) {
        const CRecording::SOutcome outcome = m_replay->Transmit(command);
        return {outcome.answer, outcome.ulPcscError};
    }
    SExchange exchange{Inserted().Transmit(command)};
    Save();
    return exchange;
}

SExchange CPluggedCard::Spoil(const SFault& fault, std::span<const std::uint8_t> command)
{
    const Bytes answer = fault.bAfter ? Execute(command).answer : Bytes{};
    switch (fault.kind) {
    case SFault::EKind::BYTES:
        return {Resized(answer, fault.ulValue)};
    case SFault::EKind::MAC:
        return {WithWrongMac(answer)};
    case SFault::EKind::STATUS_WORD:
        return {StatusWord(fault.ulValue)};
    case SFault::EKind::PCSC:
        return {.ulPcscError = fault.ulValue};
    case SFault::EKind::EVENT:
        return {.event = fault.event};
    }
    return {};
}

void CPluggedCard::Swap()
{
    if (m_pOther == nullptr) {
        SCardOptions other = m_options;
        other.strSerial = OTHER_SERIAL;
        m_pOther = std::make_unique<CCard>(other);
    }
    m_bOtherInserted = !m_bOtherInserted;
    m_log.Note(m_bOtherInserted ? "another card" : "the first card again");
    Save();
}

void CPluggedCard::Save()
{
    if (m_replay) {
        return; // there is no card to save
    }
    if (m_state.Wanted()) {
        m_state.Save(m_pCard->State());
    }
    if (m_counters.Wanted()) {
        m_counters.Save(Counters());
    }
}

} // namespace vcard
