// SPDX-License-Identifier: Apache-2.0

#include "tools/window/taskdialog.h"

#include "tools/window/words.h"

#include <QBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

#include <algorithm>

namespace window {

namespace {

constexpr int DIALOG_WIDTH = 28; // of a dialog, in heights of its letters

QString HeadingOf(pindesk::outcome eOutcome)
{
    if (eOutcome == pindesk::outcome::done) {
        return "✓ " + Phrase("Done");
    }
    return eOutcome == pindesk::outcome::unknown ? "? " + Phrase("Not known")
                                                 : "✗ " + Phrase("Not done");
}

bool InvitesAnother(const pindesk::report& report)
{
    constexpr pindesk::next AGAIN[] = {pindesk::next::check_value, pindesk::next::choose_value,
                                       pindesk::next::try_again, pindesk::next::allow_last_try};
    return report.outcome != pindesk::outcome::done &&
           std::find(std::begin(AGAIN), std::end(AGAIN), report.next) != std::end(AGAIN);
}

} // namespace

CTaskDialog::CTaskDialog(const STask& task, const SCard& card, QWidget* pParent)
    : QDialog(pParent), m_task(task), m_card(card), m_pLayout(new QVBoxLayout(this)),
      m_pSend(new QPushButton), m_pBack(new QPushButton(Phrase("Try again"))),
      m_pClose(new QPushButton)
{
    setWindowTitle(task.Title());
    setAttribute(Qt::WA_DeleteOnClose);
    setMinimumWidth(DIALOG_WIDTH * fontMetrics().height());
    auto* const pButtons = new QHBoxLayout;
    pButtons->addStretch();
    for (QPushButton* const pButton : {m_pSend, m_pBack, m_pClose}) {
        pButtons->addWidget(pButton);
    }
    m_pSend->setObjectName("send");
    m_pBack->setObjectName("back");
    m_pClose->setObjectName("close");
    connect(m_pSend, &QPushButton::clicked, this, &CTaskDialog::Send);
    connect(m_pBack, &QPushButton::clicked, this, &CTaskDialog::ShowForm);
    connect(m_pClose, &QPushButton::clicked, this, &CTaskDialog::reject);
    m_pLayout->addLayout(pButtons);
    connect(this, &CTaskDialog::Ended, this, &CTaskDialog::ShowVerdict);
    connect(this, &CTaskDialog::Waits, this, [this](const pindesk::report& soFar) {
        if (m_pWaiting != nullptr) {
            m_pWaiting->setText(TextOf(soFar));
        }
    });
    ShowForm();
}

CTaskDialog::~CTaskDialog()
{
    m_desk.cancel(); // the worker is joined after it
}

void CTaskDialog::ShowPage(QWidget* pPage)
{
    m_pForm = nullptr;
    m_pWaiting = nullptr;
    if (m_pPage != nullptr) {
        m_pPage->hide();
        m_pPage->deleteLater(); // perhaps of a call in which it is
    }
    m_pPage = pPage;
    m_pLayout->insertWidget(0, pPage, 1);
    m_pSend->hide();
    m_pBack->hide();
    m_pClose->setText(Phrase("Close"));
}

void CTaskDialog::ShowForm()
{
    auto* const pForm = new CTaskForm(m_task, m_card);
    ShowPage(pForm);
    m_pForm = pForm;
    m_pSend->setText(m_task.Title());
    m_pSend->setDefault(true);
    m_pSend->setEnabled(pForm->IsComplete());
    m_pSend->show();
    m_pClose->setText(Phrase("Cancel"));
    connect(pForm, &CTaskForm::Edited, this,
            [this, pForm] { m_pSend->setEnabled(pForm->IsComplete()); });
    pForm->setFocus();
}

void CTaskDialog::ShowWait()
{
    auto* const pPage = new QWidget;
    auto* const pLayout = new QVBoxLayout(pPage);
    auto* const pText = new QLabel(Phrase("Do not remove the card."));
    pText->setObjectName("waiting");
    pText->setWordWrap(true);
    pText->setTextFormat(Qt::PlainText);
    auto* const pBar = new QProgressBar;
    pBar->setRange(0, 0); // how long it takes is up to the card
    pBar->setAccessibleName(pText->text());
    pLayout->addWidget(pText);
    pLayout->addWidget(pBar);
    pLayout->addStretch();
    ShowPage(pPage);
    m_pWaiting = pText;
    m_pClose->setText(Phrase("Cancel"));
}

void CTaskDialog::ShowWords(const QString& strHeading, const QString& strText)
{
    auto* const pPage = new QWidget;
    auto* const pLayout = new QVBoxLayout(pPage);
    auto* const pHeading = new QLabel("<h3>" + strHeading.toHtmlEscaped() + "</h3>");
    auto* const pText = new QLabel(strText);
    pText->setObjectName("verdict");
    pText->setTextFormat(Qt::PlainText);
    pText->setWordWrap(true);
    pText->setFocusPolicy(Qt::StrongFocus); // so that it is read out
    pText->setAccessibleName(strHeading + ". " + strText);
    pLayout->addWidget(pHeading);
    pLayout->addWidget(pText);
    pLayout->addStretch();
    ShowPage(pPage);
    pText->setFocus();
    m_pClose->setDefault(true);
}

void CTaskDialog::ShowVerdict(const pindesk::report& report)
{
    const QString strAdvice = AdviceOf(report);
    ShowWords(HeadingOf(report.outcome),
              strAdvice.isEmpty() ? TextOf(report) : TextOf(report) + "\n\n" + strAdvice);
    Learn(report);
    m_pBack->setVisible(m_bThere && InvitesAnother(report));
}

/// What the report tells about the tries holds for the next form.
void CTaskDialog::Learn(const pindesk::report& report)
{
    if (report.tries_left) {
        pindesk::secret_status& status = m_card.StatusOf(report.secret);
        status.tries_left = report.tries_left;
        status.state = report.tries_left == 1 ? pindesk::state::last_try : pindesk::state::ready;
    }
}

void CTaskDialog::Send()
{
    const auto values = std::make_shared<SValues>();
    pindesk::options how;
    how.use_last_try = m_pForm->UsesLastTry();
    how.waiting = [this](const pindesk::report& soFar) { Q_EMIT Waits(soFar); };
    m_pForm->Take(*values);
    ShowWait();
    m_worker = std::jthread(
        [this, values, how] { Q_EMIT Ended(Carry(m_desk, m_task, m_card, *values, how)); });
}

void CTaskDialog::Follow(const Seen& readers)
{
    if (std::any_of(readers.begin(), readers.end(),
                    [this](const SSeen& seen) { return seen.uInsertion == m_card.uInsertion; })) {
        return;
    }
    m_bThere = false;
    m_pBack->hide();
    if (m_pForm != nullptr) {
        ShowWords("✗ " + Phrase("Not done"),
                  Phrase("The card was removed. Nothing was sent to it."));
    }
}

void CTaskDialog::reject()
{
    if (m_pWaiting != nullptr) {
        m_desk.cancel(); // and wait for its verdict
        return;
    }
    QDialog::reject();
}

} // namespace window
