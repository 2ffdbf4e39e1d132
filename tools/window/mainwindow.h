// SPDX-License-Identifier: Apache-2.0
//
// The readers on the left, the card of the chosen one on the right.

#ifndef TOOLS_WINDOW_MAINWINDOW_H
#define TOOLS_WINDOW_MAINWINDOW_H

#include "tools/window/taskdialog.h"

#include <QHash>
#include <QMainWindow>
#include <QPointer>
#include <QThreadPool>

class QListWidget;
class QScrollArea;

namespace window {

class CMainWindow : public QMainWindow {
    Q_OBJECT

public:
    CMainWindow();
    ~CMainWindow() override;

    void ChangeLanguage(const std::string& strTag);

Q_SIGNALS: // of the threads that look
    void Waits(unsigned uInsertion, const pindesk::report& soFar);
    void Looked(const window::SCard& card);

private:
    void MakeMenu();
    void Follow(const Seen& readers);
    void ShowReaders();
    void Choose();
    void ShowChosen();
    QWidget* ViewOf(const SSeen* pSeen);
    QWidget* ViewOf(const SCard& card);
    QWidget* Message(const QString& strText);
    void Look(const SSeen& seen);
    void TakeWait(unsigned uInsertion, const pindesk::report& soFar);
    void TakeLook(const SCard& card);
    void LookAgain();
    void Ask(const STask& task);
    const SSeen* Chosen() const;
    const SCard* ChosenCard() const;

    Seen m_readers;
    std::optional<pindesk::report> m_lost; ///< why there is no service
    std::string m_strChosen;               ///< name of a reader
    QHash<unsigned, SCard> m_cards;        ///< by insertion
    QHash<unsigned, QString> m_waiting;    ///< what the looks that are under way wait for
    QPointer<CTaskDialog> m_pDialog;
    QListWidget* m_pList;
    QScrollArea* m_pArea;
    QAction* m_pLock = nullptr;
    QString m_strFocus; ///< where the keyboard was before a task

    pindesk::desk m_desk;
    QThreadPool m_looks;
    CWatch m_watch; // ends first
};

} // namespace window

#endif
