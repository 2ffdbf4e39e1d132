// SPDX-License-Identifier: Apache-2.0
//
// The readers and cards of the machine as they come and go, watched on a thread of its own.

#ifndef TOOLS_WINDOW_WATCH_H
#define TOOLS_WINDOW_WATCH_H

#include "tools/window/owndesk.h"

#include <QList>
#include <QThread>

namespace window {

/// A reader, and which insertion of a card it is at.
struct SSeen {
    pindesk_reader reader;
    unsigned uInsertion; ///< another one for each card that came to any reader; 0: no card
};
using Seen = QList<SSeen>;

class CWatch : public QThread {
    Q_OBJECT

public:
    ~CWatch() override;

signals:
    void Changed(const window::Seen& readers);
    /// The service is not there; Changed comes when it is back.
    void Lost(const pindesk_report& why);

protected:
    void run() override;

private:
    static int Visit(pindesk_event eEvent, const pindesk_reader* pReader, void* pThis);
    void Take(pindesk_event eEvent, const pindesk_reader& reader);

    COwnDesk m_desk;
    Seen m_seen;
    unsigned m_uInsertions = 0;
};

} // namespace window

#endif
