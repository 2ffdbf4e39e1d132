// SPDX-License-Identifier: Apache-2.0
//
// The door: a machine made from a profile, and its state.
#include "model/card.h"

#include "model/dispatcher.h"
#include "model/profile.h"
#include "model/state.h"

#include <nlohmann/json.hpp>

namespace vcard {

struct CCard::SImpl {
    explicit SImpl(const SCardOptions& cardOptions)
        : options(cardOptions), machine(MakeImage(cardOptions))
    {
    }
    SCardOptions options;
    SMachine machine;
};

CCard::CCard(const SCardOptions& options) : m_pImpl(std::make_unique<SImpl>(options)) {}
CCard::~CCard() = default;

Bytes CCard::Atr() const
{
    return AtrOf(m_pImpl->machine.image, m_pImpl->options);
}

void CCard::Reset()
{
    m_pImpl->machine.Reset();
}

Bytes CCard::Transmit(std::span<const std::uint8_t> command)
{
    return Dispatch(m_pImpl->machine, command);
}

nlohmann::json CCard::State() const
{
    return ToJson(m_pImpl->machine.image);
}

void CCard::LoadState(const nlohmann::json& state)
{
    SCardImage image = FromJson(state, m_pImpl->machine.image);
    ApplyOptions(image, m_pImpl->options);
    m_pImpl->machine.image = std::move(image);
    m_pImpl->machine.Reset();
}

nlohmann::json CCard::Counters() const
{
    return CountersOf(m_pImpl->machine.image);
}

} // namespace vcard
