// SPDX-License-Identifier: Apache-2.0
//
// Where a person types a PIN or a PUK. It shows a dot for each digit. What is typed goes from the
// key into a CValue and nowhere else: no text object, clipboard, undo or input method sees it.

#ifndef TOOLS_WINDOW_SECRETFIELD_H
#define TOOLS_WINDOW_SECRETFIELD_H

#include "tools/window/value.h"

#include <QWidget>

namespace window {

class CSecretField : public QWidget {
    Q_OBJECT

public:
    /// \param strName  what a screen reader calls it
    explicit CSecretField(const QString& strName);

    CValue& Value() { return m_value; }
    const CValue& Value() const { return m_value; }
    void Clear();

    /// Makes fields known to screen readers as ones for passwords. Once per process.
    static void MakeAccessible();

    QSize sizeHint() const override;

Q_SIGNALS:
    void Typed();

protected:
    void keyPressEvent(QKeyEvent* pEvent) override;
    void mousePressEvent(QMouseEvent* pEvent) override;
    void paintEvent(QPaintEvent* pEvent) override;
    void focusInEvent(QFocusEvent* pEvent) override;
    void focusOutEvent(QFocusEvent* pEvent) override;

private:
    void Changed();

    CValue m_value;
};

} // namespace window

#endif
