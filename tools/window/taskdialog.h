// SPDX-License-Identifier: Apache-2.0
//
// A task from its form over the wait to the verdict, on one card.

#ifndef TOOLS_WINDOW_TASKDIALOG_H
#define TOOLS_WINDOW_TASKDIALOG_H

#include "tools/window/taskform.h"

#include <QDialog>
#include <thread>

class QHBoxLayout;
class QLabel;
class QPushButton;
class QVBoxLayout;

namespace window {

class CTaskDialog : public QDialog {
    Q_OBJECT

public:
    CTaskDialog(const STask& task, const SCard& card, QWidget* pParent);
    ~CTaskDialog() override;

    /// To be told which readers and cards are there: a form ends with its card.
    void Follow(const Seen& readers);

    void reject() override;

Q_SIGNALS: // of the thread that works
    void Waits(const pindesk::report& soFar);
    void Ended(const pindesk::report& report);

private:
    void ShowForm();
    void ShowWait();
    void ShowVerdict(const pindesk::report& report);
    void ShowWords(const QString& strHeading, const QString& strText);
    void Send();
    void Learn(const pindesk::report& report);
    void ShowPage(QWidget* pPage);

    const STask m_task;
    SCard m_card;
    bool m_bThere = true; ///< since it was looked at; another insertion begins with another look
    pindesk::desk m_desk;
    std::jthread m_worker;
    CTaskForm* m_pForm = nullptr; ///< while it is shown
    QLabel* m_pWaiting = nullptr; ///< likewise
    QWidget* m_pPage = nullptr;
    QVBoxLayout* m_pLayout;
    QPushButton *m_pSend, *m_pBack, *m_pClose;
};

} // namespace window

#endif
