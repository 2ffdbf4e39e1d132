// SPDX-License-Identifier: Apache-2.0
//
// The readers and cards of the machine as they come and go, watched on a thread of its own.

#ifndef TOOLS_WINDOW_WATCH_H
#define TOOLS_WINDOW_WATCH_H

#include "pindesk/desk.hpp"

#include <QList>
#include <QThread>

namespace window {

/// A reader, and which insertion of a card it is at.
struct SSeen {
    pindesk::reader reader;
    unsigned uInsertion = 0; ///< another one for each card that came to any reader; 0: no card
};
using Seen = QList<SSeen>;

class CWatch : public QThread {
    Q_OBJECT

public:
    ~CWatch() override;

Q_SIGNALS:
    void Changed(const window::Seen& readers);
    /// The service is not there; Changed comes when it is back.
    void Lost(const pindesk::report& why);

protected:
    void run() override;

private:
    void Take(pindesk::event eEvent, const pindesk::reader& reader);

    pindesk::desk m_desk;
    Seen m_seen;
    unsigned m_uInsertions = 0;
};

} // namespace window

#endif
