// SPDX-License-Identifier: Apache-2.0
//
// The state of a secret at a glance, by form and not by colour: a full dot for each try that is
// left, a hollow one for each that is spent, the last one with a ring around it; a cross for
// blocked, bars for deactivated, a tick for verified, a question mark, a dash.

#ifndef TOOLS_WINDOW_TRIESDOTS_H
#define TOOLS_WINDOW_TRIESDOTS_H

#include "pindesk/desk.hpp"

#include <QWidget>

namespace window {

class CTriesDots : public QWidget {
    Q_OBJECT

public:
    /// \param strState  the same in words, for a screen reader
    CTriesDots(const pindesk::secret_status& status, const QString& strState);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* pEvent) override;

private:
    void PaintTries(QPainter& painter, double dStep) const;

    pindesk::secret_status m_status;
};

} // namespace window

#endif
