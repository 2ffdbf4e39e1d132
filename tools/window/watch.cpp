// SPDX-License-Identifier: Apache-2.0

#include "tools/window/watch.h"

#include <algorithm>
#include <cstring>

namespace window {

namespace {
constexpr unsigned long RETRY_MS = 400;
}

CWatch::~CWatch()
{
    requestInterruption();
    do { // until it is inside a call that hears it
        pindesk_cancel(m_desk);
    } while (!wait(50));
}

void CWatch::Take(pindesk_event eEvent, const pindesk_reader& reader)
{
    const auto known = std::find_if(m_seen.begin(), m_seen.end(), [&](const SSeen& seen) {
        return std::strcmp(seen.reader.name, reader.name) == 0;
    });
    if (eEvent == PINDESK_READER_WENT) {
        m_seen.erase(known, m_seen.end() == known ? known : known + 1);
        return;
    }
    SSeen& seen = known == m_seen.end() ? m_seen.emplace_back() : *known;
    seen.reader = reader;
    seen.reader.has_card = eEvent == PINDESK_CARD_CAME ? 1 : 0;
    seen.uInsertion = eEvent == PINDESK_CARD_CAME ? ++m_uInsertions : 0;
}

int CWatch::Visit(pindesk_event eEvent, const pindesk_reader* pReader, void* pThis)
{
    auto* const self = static_cast<CWatch*>(pThis);
    self->Take(eEvent, *pReader);
    emit self->Changed(self->m_seen);
    return self->isInterruptionRequested() ? 1 : 0;
}

void CWatch::run()
{
    bool bThere = true;
    while (!isInterruptionRequested()) {
        auto report = Empty<pindesk_report>();
        m_seen.clear();
        const bool bIs =
            pindesk_readers(m_desk, nullptr, nullptr, nullptr, &report) == PINDESK_DONE;
        if (bIs) {
            emit Changed(m_seen); // what is there is told by the visits
            pindesk_watch(m_desk, nullptr, Visit, this, &report);
        } else if (bThere) {
            emit Lost(report);
        }
        bThere = bIs;
        if (!bIs) {
            msleep(RETRY_MS);
        }
    }
}

} // namespace window
