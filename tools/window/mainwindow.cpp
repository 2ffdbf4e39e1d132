// SPDX-License-Identifier: Apache-2.0

#include "tools/window/mainwindow.h"

#include "tools/window/cardview.h"
#include "tools/window/words.h"

#include <QActionGroup>
#include <QLabel>
#include <QListWidget>
#include <QMenuBar>
#include <QScreen>
#include <QScrollArea>
#include <QSplitter>

#include <algorithm>

namespace window {

namespace {

constexpr int WIDTH = 54, HEIGHT = 26; // in heights of a letter
constexpr int MOST_LOOKS = 32;         // at a time, each perhaps held up by another program

struct SLanguage {
    const char *szTag, *szName; // in that language itself
};
constexpr SLanguage LANGUAGES[] = {{"en", "&English"}, {"it", "&Italiano"}};

} // namespace

CMainWindow::CMainWindow() : m_pList(new QListWidget), m_pArea(new QScrollArea)
{
    setWindowTitle("PinDesk");
    resize((QSize(WIDTH, HEIGHT) * fontMetrics().height())
               .boundedTo(screen()->availableSize())); // enlarged, it may be wider than that
    m_pList->setWordWrap(true);
    m_pArea->setWidgetResizable(true);
    m_pArea->setFrameShape(QFrame::NoFrame);
    auto* const pSplitter = new QSplitter;
    pSplitter->addWidget(m_pList);
    pSplitter->addWidget(m_pArea);
    pSplitter->setStretchFactor(1, 1);
    pSplitter->setSizes({width() / 4, width() * 3 / 4});
    setCentralWidget(pSplitter);
    m_looks.setMaxThreadCount(MOST_LOOKS);
    ChangeLanguage(Language());

    connect(m_pList, &QListWidget::currentRowChanged, this, &CMainWindow::Choose);
    connect(this, &CMainWindow::Waits, this, &CMainWindow::TakeWait);
    connect(this, &CMainWindow::Looked, this, &CMainWindow::TakeLook);
    connect(&m_watch, &CWatch::Changed, this, &CMainWindow::Follow);
    connect(&m_watch, &CWatch::Lost, this, [this](const pindesk::report& why) {
        Follow({});
        m_lost = why;
        ShowChosen();
    });
    m_watch.start();
}

CMainWindow::~CMainWindow()
{
    do { // until each is inside a call that hears it
        m_desk.cancel();
    } while (!m_looks.waitForDone(50));
}

void CMainWindow::MakeMenu()
{
    menuBar()->clear();
    auto* const pCard = menuBar()->addMenu(Phrase("&Card"));
    pCard->addAction(Phrase("&Look again"), QKeySequence::Refresh, this, &CMainWindow::LookAgain);
    auto* const pAdvanced = pCard->addMenu(Phrase("&Advanced"));
    m_pLock = pAdvanced->addAction(
        STask{pindesk::operation::lock, pindesk::secret::ds_pin}.Title() + "…", this, [this] {
            Ask({pindesk::operation::lock, pindesk::secret::ds_pin});
        });
    m_pLock->setObjectName("lock");
    pCard->addAction(Phrase("&Quit"), QKeySequence::Quit, this, &QWidget::close);
    auto* const pLanguages = menuBar()->addMenu(Phrase("&Language"));
    auto* const pGroup = new QActionGroup(pLanguages);
    for (const SLanguage& language : LANGUAGES) {
        QAction* const pAction = pLanguages->addAction(language.szName);
        connect( // the menu is made anew, but not while its action is at work
            pAction, &QAction::triggered, this,
            [this, &language] { ChangeLanguage(language.szTag); }, Qt::QueuedConnection);
        pAction->setObjectName(language.szTag);
        pAction->setCheckable(true);
        pAction->setChecked(Language().starts_with(language.szTag));
        pGroup->addAction(pAction);
    }
}

void CMainWindow::ChangeLanguage(const std::string& strTag)
{
    SetLanguage(strTag);
    m_pList->setAccessibleName(Phrase("Card readers"));
    MakeMenu();
    ShowReaders();
}

void CMainWindow::Follow(const Seen& readers)
{
    m_lost.reset();
    m_readers = readers;
    const auto isHere = [&](unsigned uInsertion) {
        return std::any_of(readers.begin(), readers.end(), [uInsertion](const SSeen& seen) {
            return seen.uInsertion == uInsertion;
        });
    };
    m_cards.removeIf([&](const auto& entry) { return !isHere(entry.key()); });
    m_waiting.removeIf([&](const auto& entry) { return !isHere(entry.key()); });
    for (const SSeen& seen : readers) {
        if (seen.uInsertion != 0 && !m_cards.contains(seen.uInsertion) &&
            !m_waiting.contains(seen.uInsertion)) {
            if (Chosen() == nullptr || Chosen()->uInsertion == 0) {
                m_strChosen = seen.reader.name();
            }
            Look(seen);
        }
    }
    if (m_pDialog != nullptr) {
        m_pDialog->Follow(readers);
    }
    ShowReaders();
}

void CMainWindow::ShowReaders()
{
    const QSignalBlocker quiet(m_pList);
    m_pList->clear();
    if (Chosen() == nullptr && !m_readers.isEmpty()) {
        m_strChosen = m_readers.front().reader.name();
    }
    for (const SSeen& seen : m_readers) {
        m_pList->addItem(NameOf(seen.reader) + "\n" +
                         (seen.uInsertion == 0 ? Phrase("no card") : NameOf(seen.reader.kind)));
        if (m_strChosen == seen.reader.name()) {
            m_pList->setCurrentRow(m_pList->count() - 1);
        }
    }
    ShowChosen();
}

void CMainWindow::Choose()
{
    if (const int iRow = m_pList->currentRow(); iRow >= 0 && iRow < m_readers.size()) {
        m_strChosen = m_readers[iRow].reader.name();
        ShowChosen();
    }
}

const SSeen* CMainWindow::Chosen() const
{
    const auto found = std::find_if(m_readers.begin(), m_readers.end(), [this](const SSeen& seen) {
        return m_strChosen == seen.reader.name();
    });
    return found == m_readers.end() ? nullptr : &*found;
}

const SCard* CMainWindow::ChosenCard() const
{
    const SSeen* const pSeen = Chosen();
    const auto found = pSeen == nullptr ? m_cards.end() : m_cards.find(pSeen->uInsertion);
    return found == m_cards.end() ? nullptr : &*found;
}

QWidget* CMainWindow::Message(const QString& strText)
{
    auto* const pLabel = new QLabel(strText);
    pLabel->setObjectName("message");
    pLabel->setTextFormat(Qt::PlainText);
    pLabel->setWordWrap(true);
    pLabel->setAlignment(Qt::AlignCenter);
    return pLabel;
}

QWidget* CMainWindow::ViewOf(const SCard& card)
{
    if (!card.card) {
        return Message(TextOf(card.card.report) + "\n\n" + AdviceOf(card.card.report));
    }
    auto* const pView = new CCardView(card);
    connect(pView, &CCardView::Asked, this, &CMainWindow::Ask);
    return pView;
}

QWidget* CMainWindow::ViewOf(const SSeen* pSeen)
{
    if (m_lost) {
        return Message(TextOf(*m_lost) + "\n\n" + AdviceOf(*m_lost));
    }
    if (pSeen == nullptr) {
        return Message(Phrase("Connect a card reader."));
    }
    if (pSeen->uInsertion == 0) {
        return Message(Phrase("Insert a card into {reader}.",
                              {{"reader", std::string(pSeen->reader.name())}}));
    }
    if (const QString strWaiting = m_waiting.value(pSeen->uInsertion); !strWaiting.isEmpty()) {
        return Message(strWaiting);
    }
    const SCard* const pCard = ChosenCard();
    if (pCard == nullptr) {
        return Message(Phrase("Looking at the card…"));
    }
    QWidget* const pView = ViewOf(*pCard);
    // What is looked at again is not to be relied on.
    pView->setEnabled(!m_waiting.contains(pSeen->uInsertion));
    return pView;
}

void CMainWindow::ShowChosen()
{
    m_pArea->setWidget(ViewOf(Chosen()));
    const SCard* const pCard = ChosenCard();
    if (m_pLock != nullptr) {
        m_pLock->setEnabled(pCard != nullptr && CanLock(*pCard));
    }
    if (auto* const pFocus = m_pArea->widget()->findChild<QWidget*>(m_strFocus);
        pFocus != nullptr && !m_strFocus.isEmpty() && pFocus->isEnabled()) {
        pFocus->setFocus();
        m_strFocus.clear();
    }
}

void CMainWindow::Look(const SSeen& seen)
{
    m_waiting.insert(seen.uInsertion, {});
    m_looks.start([this, seen] {
        const Waiting waiting = [this, seen](const pindesk::report& soFar) {
            Q_EMIT Waits(seen.uInsertion, soFar);
        };
        Q_EMIT Looked(LookAt(m_desk, seen, waiting));
    });
}

void CMainWindow::TakeWait(unsigned uInsertion, const pindesk::report& soFar)
{
    if (m_waiting.contains(uInsertion)) {
        m_waiting[uInsertion] = TextOf(soFar);
        ShowChosen();
    }
}

void CMainWindow::TakeLook(const SCard& card)
{
    if (m_waiting.remove(card.uInsertion)) { // else it is there no more
        m_cards.insert(card.uInsertion, card);
        ShowChosen();
    }
}

void CMainWindow::LookAgain()
{
    const SSeen* const pSeen = Chosen();
    if (pSeen != nullptr && pSeen->uInsertion != 0 && !m_waiting.contains(pSeen->uInsertion)) {
        Look(*pSeen);
        ShowChosen();
    }
}

void CMainWindow::Ask(const STask& task)
{
    const SCard* const pCard = ChosenCard();
    if (pCard == nullptr || m_pDialog != nullptr) {
        return;
    }
    m_strFocus = focusWidget() == nullptr ? QString() : focusWidget()->objectName();
    m_pDialog = new CTaskDialog(task, *pCard, this);
    connect(m_pDialog, &QDialog::finished, this, &CMainWindow::LookAgain);
    m_pDialog->open();
}

} // namespace window
