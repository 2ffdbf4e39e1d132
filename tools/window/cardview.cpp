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
    QString strKind = KindOf(card.card.reader.kind);
    return strKind.replace(0, 1, strKind.left(1).toUpper());
}

QString Serial(const SCard& card)
{
    return card.card.serial[0] == '\0'
               ? Phrase("This card has no serial number.")
               : Phrase("Serial number: {serial}", {{"serial", card.card.serial}});
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
                                  {{"applications", LayoutOf(card.card.layout).toStdString()}})),
                     2, 0, 1, -1);
    pGrid->setRowMinimumHeight(3, 2 * fontMetrics().height());
    for (const pindesk_secret_status& status : card.secrets) {
        AddSecret(*pGrid, card, status.secret);
    }
    pGrid->setColumnStretch(2, 1);
    pGrid->setRowStretch(pGrid->rowCount(), 1);
}

void CCardView::AddSecret(QGridLayout& grid, const SCard& card, pindesk_secret eSecret)
{
    const pindesk_secret_status& status = card.secrets.at(eSecret);
    const int iRow = grid.rowCount();
    auto* const pTitle = Plain(TitleOf(eSecret), 1.1);
    pTitle->setWordWrap(false);
    grid.addWidget(pTitle, iRow, 0);
    grid.addWidget(new CTriesDots(status, StateOf(status)), iRow, 1);
    auto* const pState = Plain(StateOf(status));
    pState->setObjectName(QString("state ") + pindesk_secret_name(eSecret));
    pState->setAccessibleName(TitleOf(eSecret) + ": " + StateOf(status));
    grid.addWidget(pState, iRow, 2);
    int iColumn = 3;
    for (const STask& task : TasksFor(card, eSecret)) {
        auto* const pButton = new QPushButton(task.Verb());
        pButton->setObjectName(QString::number(task.eOperation) + " " +
                               pindesk_secret_name(eSecret));
        pButton->setAccessibleName(task.Title());
        connect(pButton, &QPushButton::clicked, this, [this, task] { emit Asked(task); });
        grid.addWidget(pButton, iRow, iColumn++);
    }
}

} // namespace window
