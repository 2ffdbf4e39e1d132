// SPDX-License-Identifier: Apache-2.0

#include "tools/window/task.h"

#include "tools/window/words.h"

#include <algorithm>

namespace window {

namespace {

using desk::Msg;

bool IsPin(pindesk_secret eSecret)
{
    return eSecret == PINDESK_CNS_PIN || eSecret == PINDESK_DS_PIN;
}

pindesk_secret PukOf(pindesk_secret ePin)
{
    return ePin == PINDESK_CNS_PIN ? PINDESK_CNS_PUK : PINDESK_DS_PUK;
}

pindesk_state StateIn(const SCard& card, pindesk_secret eSecret)
{
    return card.secrets.at(eSecret).state;
}

bool IsUsable(pindesk_state eState)
{
    return eState != PINDESK_STATE_BLOCKED && eState != PINDESK_STATE_DEACTIVATED &&
           eState != PINDESK_STATE_ABSENT;
}

bool MakesSense(const SCard& card, const STask& task)
{
    const pindesk_state eState = StateIn(card, task.eTarget);
    const bool bPuk = IsPin(task.eTarget) && IsUsable(StateIn(card, PukOf(task.eTarget)));
    switch (task.eOperation) {
    case PINDESK_OP_VERIFY:
    case PINDESK_OP_CHANGE:
        return IsUsable(eState);
    case PINDESK_OP_UNBLOCK: // a forgotten PIN need not be blocked first
        return bPuk && (eState == PINDESK_STATE_BLOCKED || eState == PINDESK_STATE_LAST_TRY);
    case PINDESK_OP_REACTIVATE:
        return bPuk && task.eTarget == PINDESK_DS_PIN && eState == PINDESK_STATE_DEACTIVATED;
    default:
        return task.eTarget == PINDESK_DS_PIN && IsUsable(eState);
    }
}

bool IsPossible(const SCard& card, const STask& task)
{
    return (card.card.operations >> task.eOperation & 1U) != 0 && MakesSense(card, task);
}

struct SNames {
    pindesk_operation eOperation;
    const char *szVerb, *szTitle;
};

constexpr SNames NAMES[] = {
    {PINDESK_OP_CHANGE, Msg("Change…"), Msg("Change the {secret}")},
    {PINDESK_OP_VERIFY, Msg("Check…"), Msg("Check the {secret}")},
    {PINDESK_OP_UNBLOCK, Msg("Unblock…"), Msg("Unblock the {secret}")},
    {PINDESK_OP_REACTIVATE, Msg("Reactivate…"), Msg("Reactivate the {secret}")},
    {PINDESK_OP_LOCK, Msg("Lock…"), Msg("Lock the {secret}")},
};

const SNames& NamesOf(pindesk_operation eOperation)
{
    return *std::find_if(std::begin(NAMES), std::end(NAMES) - 1,
                         [=](const SNames& names) { return names.eOperation == eOperation; });
}

} // namespace

std::optional<pindesk_secret> STask::Presented() const
{
    if (eOperation == PINDESK_OP_LOCK) {
        return std::nullopt;
    }
    const bool bByPuk = eOperation == PINDESK_OP_UNBLOCK || eOperation == PINDESK_OP_REACTIVATE;
    return bByPuk ? PukOf(eTarget) : eTarget;
}

bool STask::SetsValue() const
{
    return eOperation != PINDESK_OP_VERIFY && eOperation != PINDESK_OP_LOCK;
}

QString STask::Verb() const
{
    return Phrase(NamesOf(eOperation).szVerb);
}

QString STask::Title() const
{
    return Phrase(NamesOf(eOperation).szTitle, {{"secret", TitleOf(eTarget).toStdString()}});
}

std::vector<STask> TasksFor(const SCard& card, pindesk_secret eSecret)
{
    std::vector<STask> tasks;
    for (const pindesk_operation eOperation :
         {PINDESK_OP_REACTIVATE, PINDESK_OP_CHANGE, PINDESK_OP_VERIFY, PINDESK_OP_UNBLOCK}) {
        if (IsPossible(card, {eOperation, eSecret})) {
            tasks.push_back({eOperation, eSecret});
        }
    }
    return tasks;
}

bool CanLock(const SCard& card)
{
    return card.report.outcome == PINDESK_DONE &&
           IsPossible(card, {PINDESK_OP_LOCK, PINDESK_DS_PIN});
}

pindesk_report Carry(pindesk_desk* pDesk, const STask& task, const SCard& card,
                     const SValues& values, std::uint32_t uFlags, const Waiting& waiting)
{
    auto report = Empty<pindesk_report>();
    pindesk_options options = OptionsFor(card.card.reader, waiting);
    options.serial = card.card.serial[0] == '\0' ? nullptr : card.card.serial;
    options.flags = uFlags;
    const pindesk_bytes presented = values.presented.Bytes();
    const pindesk_bytes fresh = values.fresh.Bytes();
    switch (task.eOperation) {
    case PINDESK_OP_VERIFY:
        pindesk_verify(pDesk, task.eTarget, presented, &options, &report);
        break;
    case PINDESK_OP_CHANGE:
        pindesk_change(pDesk, task.eTarget, presented, fresh, &options, &report);
        break;
    case PINDESK_OP_UNBLOCK:
        pindesk_unblock(pDesk, task.eTarget, presented, fresh, &options, &report);
        break;
    case PINDESK_OP_REACTIVATE:
        pindesk_reactivate(pDesk, presented, fresh, &options, &report);
        break;
    default:
        pindesk_lock(pDesk, &options, &report);
    }
    return report;
}

} // namespace window
