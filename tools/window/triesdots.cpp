// SPDX-License-Identifier: Apache-2.0

#include "tools/window/triesdots.h"

#include <QPainter>

#include <algorithm>

namespace window {

namespace {

constexpr int USUAL_TRIES = 3; // no card tells how many there were
constexpr int MOST_DOTS = 10;

QPolygonF Tick(double dUnit)
{
    return {QPointF(-dUnit, 0), QPointF(-dUnit / 4, dUnit * 0.7), QPointF(dUnit, -dUnit * 0.8)};
}

} // namespace

CTriesDots::CTriesDots(const pindesk::secret_status& status, const QString& strState)
    : m_status(status)
{
    setAccessibleName(strState);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize CTriesDots::sizeHint() const
{
    const int iDots = std::clamp(m_status.tries_left.value_or(0), USUAL_TRIES, MOST_DOTS);
    return {(iDots + 1) * fontMetrics().height(), fontMetrics().height() * 3 / 2};
}

void CTriesDots::PaintTries(QPainter& painter, double dStep) const
{
    const int iLeft = std::min(m_status.tries_left.value_or(0), MOST_DOTS);
    for (int i = 0; i < std::max(iLeft, USUAL_TRIES); ++i) {
        const QPointF at(i * dStep, 0);
        painter.setBrush(i < iLeft ? painter.pen().brush() : Qt::NoBrush);
        painter.drawEllipse(at, dStep * 0.27, dStep * 0.27);
        if (iLeft == 1 && i == 0) {
            painter.setBrush(Qt::NoBrush);
            painter.drawEllipse(at, dStep * 0.46, dStep * 0.46);
        }
    }
}

void CTriesDots::paintEvent(QPaintEvent* /*pEvent*/)
{
    const double dStep = fontMetrics().height();
    const double dUnit = dStep * 0.35;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(palette().windowText(), dStep / 9));
    painter.translate(dStep * 0.6, height() / 2.0);
    switch (m_status.state) {
    case pindesk::state::ready:
    case pindesk::state::last_try:
        PaintTries(painter, dStep);
        break;
    case pindesk::state::blocked:
        painter.drawLine(QPointF(-dUnit, -dUnit), QPointF(dUnit, dUnit));
        painter.drawLine(QPointF(-dUnit, dUnit), QPointF(dUnit, -dUnit));
        break;
    case pindesk::state::deactivated:
        painter.drawLine(QPointF(-dUnit / 2, -dUnit), QPointF(-dUnit / 2, dUnit));
        painter.drawLine(QPointF(dUnit / 2, -dUnit), QPointF(dUnit / 2, dUnit));
        break;
    case pindesk::state::verified:
        painter.drawPolyline(Tick(dUnit));
        break;
    case pindesk::state::absent:
        painter.drawLine(QPointF(-dUnit, 0), QPointF(dUnit, 0));
        break;
    default:
        painter.drawText(QRectF(-dUnit, -dStep, dStep, 2 * dStep), Qt::AlignVCenter, "?");
    }
}

} // namespace window
