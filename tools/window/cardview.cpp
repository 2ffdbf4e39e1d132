// SPDX-License-Identifier: Apache-2.0

#include "tools/window/cardview.h"

#include "tools/window/triesdots.h"
#include "tools/window/words.h"

#include <QGridLayout>
#include <QLabel>
#include <QPushButton>

namespace window {

namespace {

QLabel* Plain(const QString& strText, double dSize = 1)
{
    auto* const pLabel = new QLabel(strText);
    pLabel->setTextFormat(Qt::PlainText); // whatever a card or a reader calls itself
    pLabel->setWordWrap(true);
    QFont font = pLabel->font();
    font.setPointSizeF(font.pointSizeF() * dSize);
    font.setBold(dSize > 1);
    pLabel->setFont(font);
    return pLabel;
}

QString Heading(const SCard& card)
{
    QString strKind = NameOf(card.card.reader.kind);
    return strKind.replace(0, 1, strKind.left(1).toUpper());
}

QString Serial(const SCard& card)
{
    return card.card.serial().empty()
               ? Phrase("This card has no serial number.")
               : Phrase("Serial number: {serial}", {{"serial", std::string(card.card.serial())}});
}

} // namespace

CCardView::CCardView(const SCard& card)
{
    auto* const pGrid = new QGridLayout(this);
    pGrid->addWidget(Plain(Heading(card), 1.4), 0, 0, 1, -1);
    auto* const pSerial = Plain(Serial(card));
    pSerial->setObjectName("serial");
    pGrid->addWidget(pSerial, 1, 0, 1, -1);
    pGrid->addWidget(Plain(Phrase("On it: {applications}",
                                  {{"applications", LayoutOf(card.card).toStdString()}})),
                     2, 0, 1, -1);
    for (const pindesk::secret_status& status : card.secrets) {
        AddSecret(*pGrid, card, status.secret);
    }
    pGrid->setColumnStretch(1, 1);
    pGrid->setRowStretch(pGrid->rowCount(), 1);
}

/// Its name, below that its state, and the buttons beside both.
void CCardView::AddSecret(QGridLayout& grid, const SCard& card, pindesk::secret eSecret)
{
    const pindesk::secret_status& status = card.StatusOf(eSecret);
    const int iRow = grid.rowCount() + 1;
    grid.setRowMinimumHeight(iRow - 1, fontMetrics().height() / 2);
    auto* const pTitle = Plain(NameOf(eSecret), 1.1);
    pTitle->setWordWrap(false);
    grid.addWidget(pTitle, iRow, 0, 1, 2);
    grid.addWidget(new CTriesDots(status, NameOf(status)), iRow + 1, 0);
    auto* const pState = Plain(NameOf(status));
    pState->setObjectName("state " + QString::fromUtf8(pindesk::name(eSecret)));
    pState->setAccessibleName(NameOf(eSecret) + ": " + NameOf(status));
    grid.addWidget(pState, iRow + 1, 1);
    int iColumn = 2;
    for (const STask& task : TasksFor(card, eSecret)) {
        auto* const pButton = new QPushButton(task.Verb());
        pButton->setObjectName(QString::number(static_cast<int>(task.eOperation)) + " " +
                               QString::fromUtf8(pindesk::name(eSecret)));
        pButton->setAccessibleName(task.Title());
        connect(pButton, &QPushButton::clicked, this, [this, task] { Q_EMIT Asked(task); });
        grid.addWidget(pButton, iRow, iColumn++, 2, 1);
    }
}

} // namespace window
