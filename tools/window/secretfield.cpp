// SPDX-License-Identifier: Apache-2.0

#include "tools/window/secretfield.h"

#include <QAccessibleWidget>
#include <QApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QStyleOptionFrame>

namespace window {

namespace {

constexpr int DOTS = 12; // that the field is wide enough for

class CAccessibleField : public QAccessibleWidget {
public:
    explicit CAccessibleField(CSecretField* pField)
        : QAccessibleWidget(pField, QAccessible::EditableText), m_pField(pField)
    {
    }

    QAccessible::State state() const override
    {
        QAccessible::State state = QAccessibleWidget::state();
        state.passwordEdit = true;
        state.editable = true;
        return state;
    }

    QString text(QAccessible::Text eText) const override
    {
        return eText == QAccessible::Value
                   ? QString(static_cast<qsizetype>(m_pField->Value().size()), QChar(0x25CF))
                   : QAccessibleWidget::text(eText);
    }

private:
    CSecretField* m_pField;
};

QAccessibleInterface* AccessibleOf(const QString& /*strClass*/, QObject* pObject)
{
    auto* const pField = qobject_cast<CSecretField*>(pObject);
    return pField == nullptr ? nullptr : new CAccessibleField(pField);
}

} // namespace

void CSecretField::MakeAccessible()
{
    QAccessible::installFactory(AccessibleOf);
}

CSecretField::CSecretField(const QString& strName)
{
    setAccessibleName(strName);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_InputMethodEnabled, false);
    setCursor(Qt::IBeamCursor);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void CSecretField::Clear()
{
    m_value.Clear();
    Changed();
}

void CSecretField::Changed()
{
    update();
    QAccessibleValueChangeEvent changed(this, static_cast<int>(m_value.size()));
    QAccessible::updateAccessibility(&changed);
    Q_EMIT Typed();
}

QSize CSecretField::sizeHint() const
{
    return {DOTS * fontMetrics().height(), 2 * fontMetrics().height()};
}

// The event's number of the key is enough for a digit; its text is not looked at.
void CSecretField::keyPressEvent(QKeyEvent* pEvent)
{
    const int iKey = pEvent->key();
    const auto modifiers = pEvent->modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier);
    if (iKey >= Qt::Key_0 && iKey <= Qt::Key_9 && modifiers == Qt::NoModifier) {
        if (!m_value.Append(static_cast<unsigned char>('0' + (iKey - Qt::Key_0)))) {
            QApplication::beep();
        }
    } else if (iKey == Qt::Key_Backspace || iKey == Qt::Key_Delete) {
        m_value.RemoveLast();
    } else {
        QWidget::keyPressEvent(pEvent); // Enter and Escape are the dialog's
        return;
    }
    Changed();
}

void CSecretField::mousePressEvent(QMouseEvent* /*pEvent*/)
{
    setFocus(Qt::MouseFocusReason);
}

void CSecretField::focusInEvent(QFocusEvent* pEvent)
{
    QWidget::focusInEvent(pEvent);
    update();
}

void CSecretField::focusOutEvent(QFocusEvent* pEvent)
{
    QWidget::focusOutEvent(pEvent);
    update();
}

void CSecretField::paintEvent(QPaintEvent* /*pEvent*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QStyleOptionFrame frame;
    frame.initFrom(this);
    frame.lineWidth = 1;
    frame.state |= QStyle::State_Sunken;
    style()->drawPrimitive(QStyle::PE_PanelLineEdit, &frame, &painter, this);

    const int iStep = fontMetrics().height();
    const double dRadius = iStep / 4.0;
    painter.setPen(Qt::NoPen);
    painter.setBrush(palette().text());
    QPointF at(iStep, height() / 2.0);
    for (std::size_t i = 0; i < m_value.size(); ++i, at.rx() += iStep) {
        painter.drawEllipse(at, dRadius, dRadius);
    }
    if (hasFocus()) {
        painter.fillRect(QRectF(at.x() - iStep / 2.0, height() / 4.0, 1.5, height() / 2.0),
                         palette().text());
    }
}

} // namespace window
