// SPDX-License-Identifier: Apache-2.0
//
// A reader whose card an event can take out or reset.

#include "inprocess/reader.h"

namespace vcard {

CReader::CReader(const SReaderSettings& settings)
    : m_strName(settings.strName), m_plugged(settings.plugged),
      m_dwProtocol(m_plugged.IsT1() ? SCARD_PROTOCOL_T1 : SCARD_PROTOCOL_T0),
      m_absence(settings.plugged.absence), m_bStartedEmpty(settings.plugged.arrival.count() > 0),
      m_back(Clock::now() + settings.plugged.arrival)
{
}

void CReader::Reset()
{
    ++m_ulResets;
    m_plugged.Reset();
}

void CReader::Play(EEvent event)
{
    const bool bLeaves =
        event == EEvent::REMOVED || event == EEvent::PULLED || event == EEvent::SWAPPED;
    if (bLeaves) {
        ++m_ulRemovals;
        m_back = event == EEvent::PULLED ? Clock::time_point::max() : Clock::now() + m_absence;
    } else {
        ++m_ulResets;
    }
    m_plugged.Play(event);
}

} // namespace vcard
