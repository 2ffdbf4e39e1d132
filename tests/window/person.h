// SPDX-License-Identifier: Apache-2.0
//
// A person at the window: looks for what is to be seen, types, and presses buttons.

#ifndef TESTS_WINDOW_PERSON_H
#define TESTS_WINDOW_PERSON_H

#include "tools/window/mainwindow.h"

#include <QLabel>
#include <QPushButton>
#include <QTest>

class CPerson {
public:
    CPerson() { m_window.show(); }

    window::CMainWindow& Window() { return m_window; }
    template <class Widget> Widget* Find(const char* szName) const
    {
        return m_window.findChild<Widget*>(szName);
    }
    window::CTaskDialog* Dialog() const { return m_window.findChild<window::CTaskDialog*>(); }

    /// The text of a label that can be seen and is not greyed out.
    QString Text(const char* szName) const
    {
        const auto* const pLabel = Find<QLabel>(szName);
        const bool bSeen = pLabel != nullptr && pLabel->isVisible() && pLabel->isEnabled();
        return bSeen ? pLabel->text() : QString();
    }

    bool Awaits(const char* szName, const QString& strPart, int iMs = 10000) const
    {
        return QTest::qWaitFor([&] { return Text(szName).contains(strPart); }, iMs);
    }

    void Type(const char* szField, const char* szDigits) const
    {
        QTest::keyClicks(Find<window::CSecretField>(szField), szDigits);
    }

    void Press(const char* szButton) const
    {
        QTest::mouseClick(Find<QPushButton>(szButton), Qt::LeftButton);
    }

    /// Enter in the dialog, and what it came to.
    bool EndsWith(const QString& strPart) const
    {
        QTest::keyClick(Dialog(), Qt::Key_Return);
        return Awaits("verdict", strPart);
    }

    bool Closes() const
    {
        QTest::keyClick(Dialog(), Qt::Key_Escape);
        return QTest::qWaitFor([&] { return Dialog() == nullptr; }, 10000);
    }

    /// What the buttons beside the secrets offer.
    QStringList Offered() const
    {
        QStringList names;
        for (const auto* const pButton : m_window.centralWidget()->findChildren<QPushButton*>()) {
            names += pButton->accessibleName();
        }
        return names;
    }

private:
    window::CMainWindow m_window;
};

#endif
