// SPDX-License-Identifier: Apache-2.0

#include "tools/window/watch.h"

#include <algorithm>

namespace window {

namespace {
constexpr unsigned long RETRY_MS = 400;
}

CWatch::~CWatch()
{
    requestInterruption();
    do { // until it is inside a call that hears it
        m_desk.cancel();
    } while (!wait(50));
}

void CWatch::Take(pindesk::event eEvent, const pindesk::reader& reader)
{
    const auto known = std::find_if(m_seen.begin(), m_seen.end(), [&](const SSeen& seen) {
        return seen.reader.name() == reader.name();
    });
    if (eEvent == pindesk::event::reader_went) {
        m_seen.erase(known, m_seen.end() == known ? known : known + 1);
        return;
    }
    SSeen& seen = known == m_seen.end() ? m_seen.emplace_back() : *known;
    seen.reader = reader;
    seen.uInsertion = eEvent == pindesk::event::card_came ? ++m_uInsertions : 0;
}

void CWatch::run()
{
    const auto tell = [this](pindesk::event eEvent, const pindesk::reader& reader) {
        Take(eEvent, reader);
        Q_EMIT Changed(m_seen);
        return !isInterruptionRequested();
    };
    bool bThere = true;
    while (!isInterruptionRequested()) {
        m_seen.clear();
        const pindesk::report listed = m_desk.readers([](const pindesk::reader&) { return false; });
        if (listed) {
            Q_EMIT Changed(m_seen); // what is there is told by the visits
            m_desk.watch(tell);
        } else if (bThere) {
            Q_EMIT Lost(listed);
        }
        bThere = static_cast<bool>(listed);
        if (!bThere) {
            msleep(RETRY_MS);
        }
    }
}

} // namespace window
