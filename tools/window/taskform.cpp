// SPDX-License-Identifier: Apache-2.0

#include "tools/window/taskform.h"

#include "tools/window/words.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>

namespace window {

namespace {

QLabel* Paragraph(const QString& strText)
{
    auto* const pLabel = new QLabel(strText);
    pLabel->setTextFormat(Qt::PlainText);
    pLabel->setWordWrap(true);
    return pLabel;
}

QString Cost(const pindesk::secret_status& status)
{
    const std::string strSecret = pindesk::text(status.secret, Language());
    switch (status.state) {
    case pindesk::state::ready:
        return Phrase("{secret}: {tries}. A wrong value costs one.",
                      {{"secret", strSecret}, {"tries", pindesk::text(status, Language())}});
    case pindesk::state::last_try:
        return Phrase("{secret}: this is the last try. A wrong value blocks it.",
                      {{"secret", strSecret}});
    default:
        return Phrase(
            "{secret}: the card does not tell how many tries are left. A wrong value costs "
            "one.",
            {{"secret", strSecret}});
    }
}

pindesk::report Judge(pindesk::secret eSecret, bool bNew, const CValue& value)
{
    return pindesk::check_value(eSecret, bNew, value);
}

} // namespace

CTaskForm::CTaskForm(const STask& task, const SCard& card) : m_task(task)
{
    auto* const pForm = new QVBoxLayout(this);
    if (const auto ePresented = task.Presented()) {
        AddPresented(*pForm, card.StatusOf(*ePresented));
        setFocusProxy(m_pPresented);
    } else {
        AddWord(*pForm);
        setFocusProxy(m_pWord);
    }
    if (task.SetsValue()) {
        AddFresh(*pForm);
    }
    m_pHint = Paragraph({});
    m_pHint->setObjectName("hint");
    m_pHint->setMinimumHeight(2 * fontMetrics().lineSpacing());
    m_pHint->setAlignment(Qt::AlignTop);
    pForm->addWidget(m_pHint, 1);
    Check();
}

CSecretField* CTaskForm::AddField(QVBoxLayout& form, const QString& strName, const char* szId)
{
    auto* const pField = new CSecretField(strName);
    pField->setObjectName(szId);
    form.addWidget(Paragraph(strName));
    form.addWidget(pField);
    connect(pField, &CSecretField::Typed, this, &CTaskForm::Check);
    return pField;
}

void CTaskForm::AddPresented(QVBoxLayout& form, const pindesk::secret_status& status)
{
    form.addWidget(Paragraph(Cost(status)));
    const QString strTitle = NameOf(status.secret);
    const bool bOld = m_task.eOperation == pindesk::operation::change;
    m_pPresented = AddField(
        form, bOld ? Phrase("Present {secret}", {{"secret", strTitle.toStdString()}}) : strTitle,
        "presented");
    if (status.state == pindesk::state::last_try) {
        m_pLastTry = new QCheckBox(Phrase("I am sure of the value: use the last try"));
        m_pLastTry->setObjectName("last try");
        form.addWidget(m_pLastTry);
        connect(m_pLastTry, &QCheckBox::toggled, this, &CTaskForm::Check);
    }
}

void CTaskForm::AddFresh(QVBoxLayout& form)
{
    const std::string strTitle = pindesk::text(m_task.eTarget, Language());
    if (m_task.eOperation == pindesk::operation::reactivate) {
        form.addWidget(Paragraph(Phrase("Leave the new value empty to keep the one that it had.")));
    }
    m_pFresh = AddField(form, Phrase("New {secret}", {{"secret", strTitle}}), "fresh");
    m_pAgain = AddField(form, Phrase("New {secret}, once more", {{"secret", strTitle}}), "again");
}

void CTaskForm::AddWord(QVBoxLayout& form)
{
    form.addWidget(Paragraph(Phrase(
        "A locked signature PIN signs nothing until its PUK brings it back. The access conditions "
        "of the signature application become tighter for good.")));
    m_pWord = new QLineEdit;
    m_pWord->setObjectName("word");
    const QString strAsk = Phrase("Type {word} to go on", {{"word", Phrase("lock").toStdString()}});
    m_pWord->setAccessibleName(strAsk);
    form.addWidget(Paragraph(strAsk));
    form.addWidget(m_pWord);
    connect(m_pWord, &QLineEdit::textChanged, this, &CTaskForm::Check);
}

bool CTaskForm::HasConsent() const
{
    return (m_pLastTry == nullptr || m_pLastTry->isChecked()) &&
           (m_pWord == nullptr || m_pWord->text().trimmed() == Phrase("lock"));
}

QString CTaskForm::ProblemOfFresh() const
{
    const CValue& fresh = m_pFresh->Value();
    const bool bKeeps = m_task.eOperation == pindesk::operation::reactivate && fresh.size() == 0;
    if (!bKeeps && Judge(m_task.eTarget, true, fresh).outcome != pindesk::outcome::done) {
        return Phrase("The new value: {length}.",
                      {{"length", LengthOf(m_task.eTarget).toStdString()}});
    }
    return fresh == m_pAgain->Value() ? QString() : Phrase("The two new values are not alike yet.");
}

QString CTaskForm::Problem() const
{
    if (m_pPresented != nullptr &&
        Judge(*m_task.Presented(), false, m_pPresented->Value()).outcome !=
            pindesk::outcome::done) {
        return Phrase("{secret}: {length}.",
                      {{"secret", pindesk::text(*m_task.Presented(), Language())},
                       {"length", LengthOf(*m_task.Presented()).toStdString()}});
    }
    return m_pFresh == nullptr ? QString() : ProblemOfFresh();
}

void CTaskForm::Check()
{
    const QString strProblem = Problem();
    m_bComplete = strProblem.isEmpty() && HasConsent();
    const bool bWeighs = strProblem.isEmpty() && m_pFresh != nullptr;
    m_pHint->setText(bWeighs ? NameOf(Judge(m_task.eTarget, true, m_pFresh->Value()).weakness)
                             : strProblem);
    Q_EMIT Edited();
}

bool CTaskForm::UsesLastTry() const
{
    return m_pLastTry != nullptr && m_pLastTry->isChecked();
}

void CTaskForm::Take(SValues& values)
{
    if (m_pPresented != nullptr) {
        values.presented.TakeFrom(m_pPresented->Value());
    }
    if (m_pFresh != nullptr) {
        values.fresh.TakeFrom(m_pFresh->Value());
        m_pAgain->Value().Clear();
    }
}

} // namespace window
