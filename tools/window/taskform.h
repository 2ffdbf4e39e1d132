// SPDX-License-Identifier: Apache-2.0
//
// What a person fills in for a task: values, and the consent where one is needed. It checks the
// values as they are typed.

#ifndef TOOLS_WINDOW_TASKFORM_H
#define TOOLS_WINDOW_TASKFORM_H

#include "tools/window/secretfield.h"
#include "tools/window/task.h"

class QCheckBox;
class QLabel;
class QLineEdit;
class QVBoxLayout;

namespace window {

class CTaskForm : public QWidget {
    Q_OBJECT

public:
    CTaskForm(const STask& task, const SCard& card);

    bool IsComplete() const { return m_bComplete; }
    /// Whether it was consented to.
    bool UsesLastTry() const;
    /// Moves the values out of the fields.
    void Take(SValues& values);

Q_SIGNALS:
    void Edited();

private:
    void AddPresented(QVBoxLayout& form, const pindesk::secret_status& status);
    void AddFresh(QVBoxLayout& form);
    void AddWord(QVBoxLayout& form);
    CSecretField* AddField(QVBoxLayout& form, const QString& strName, const char* szId);
    void Check();
    QString Problem() const;
    QString ProblemOfFresh() const;
    bool HasConsent() const;

    const STask m_task;
    CSecretField *m_pPresented = nullptr, *m_pFresh = nullptr, *m_pAgain = nullptr;
    QCheckBox* m_pLastTry = nullptr;
    QLineEdit* m_pWord = nullptr;
    QLabel* m_pHint = nullptr;
    bool m_bComplete = false;
};

} // namespace window

#endif
