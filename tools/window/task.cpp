// SPDX-License-Identifier: Apache-2.0

#include "tools/window/task.h"

#include "tools/window/words.h"

#include <algorithm>

namespace window {

namespace {

using desk::Msg;

bool IsPin(pindesk::secret eSecret)
{
    return eSecret == pindesk::secret::cns_pin || eSecret == pindesk::secret::ds_pin;
}

pindesk::secret PukOf(pindesk::secret ePin)
{
    return ePin == pindesk::secret::cns_pin ? pindesk::secret::cns_puk : pindesk::secret::ds_puk;
}

bool IsUsable(pindesk::state eState)
{
    return eState != pindesk::state::blocked && eState != pindesk::state::deactivated &&
           eState != pindesk::state::absent;
}

bool MakesSense(const SCard& card, const STask& task)
{
    const pindesk::state eState = card.StatusOf(task.eTarget).state;
    const bool bPuk = IsPin(task.eTarget) && IsUsable(card.StatusOf(PukOf(task.eTarget)).state);
    switch (task.eOperation) {
    case pindesk::operation::verify:
    case pindesk::operation::change:
        return IsUsable(eState);
    case pindesk::operation::unblock: // a forgotten PIN need not be blocked first
        return bPuk && (eState == pindesk::state::blocked || eState == pindesk::state::last_try);
    case pindesk::operation::reactivate:
        return bPuk && task.eTarget == pindesk::secret::ds_pin &&
               eState == pindesk::state::deactivated;
    default:
        return task.eTarget == pindesk::secret::ds_pin && IsUsable(eState);
    }
}

bool IsPossible(const SCard& card, const STask& task)
{
    return card.card.can(task.eOperation) && MakesSense(card, task);
}

struct SNames {
    pindesk::operation eOperation;
    const char *szVerb, *szTitle;
};

constexpr SNames NAMES[] = {
    {pindesk::operation::change, Msg("Change…"), Msg("Change the {secret}")},
    {pindesk::operation::verify, Msg("Check…"), Msg("Check the {secret}")},
    {pindesk::operation::unblock, Msg("Unblock…"), Msg("Unblock the {secret}")},
    {pindesk::operation::reactivate, Msg("Reactivate…"), Msg("Reactivate the {secret}")},
    {pindesk::operation::lock, Msg("Lock…"), Msg("Lock the {secret}")},
};

const SNames& NamesOf(pindesk::operation eOperation)
{
    return *std::find_if(std::begin(NAMES), std::end(NAMES) - 1,
                         [=](const SNames& names) { return names.eOperation == eOperation; });
}

} // namespace

std::optional<pindesk::secret> STask::Presented() const
{
    if (eOperation == pindesk::operation::lock) {
        return std::nullopt;
    }
    const bool bByPuk =
        eOperation == pindesk::operation::unblock || eOperation == pindesk::operation::reactivate;
    return bByPuk ? PukOf(eTarget) : eTarget;
}

bool STask::SetsValue() const
{
    return eOperation != pindesk::operation::verify && eOperation != pindesk::operation::lock;
}

QString STask::Verb() const
{
    return Phrase(NamesOf(eOperation).szVerb);
}

QString STask::Title() const
{
    return Phrase(NamesOf(eOperation).szTitle, {{"secret", pindesk::text(eTarget, Language())}});
}

std::vector<STask> TasksFor(const SCard& card, pindesk::secret eSecret)
{
    std::vector<STask> tasks;
    for (const pindesk::operation eOperation :
         {pindesk::operation::reactivate, pindesk::operation::change, pindesk::operation::verify,
          pindesk::operation::unblock}) {
        if (IsPossible(card, {eOperation, eSecret})) {
            tasks.push_back({eOperation, eSecret});
        }
    }
    return tasks;
}

bool CanLock(const SCard& card)
{
    return card.card && IsPossible(card, {pindesk::operation::lock, pindesk::secret::ds_pin});
}

pindesk::report Carry(pindesk::desk& desk, const STask& task, const SCard& card,
                      const SValues& values, const pindesk::options& how)
{
    switch (task.eOperation) {
    case pindesk::operation::verify:
        return desk.verify(card.card, task.eTarget, values.presented, how);
    case pindesk::operation::change:
        return desk.change(card.card, task.eTarget, values.presented, values.fresh, how);
    case pindesk::operation::unblock:
        return desk.unblock(card.card, task.eTarget, values.presented, values.fresh, how);
    case pindesk::operation::reactivate:
        return desk.reactivate(card.card, values.presented, values.fresh, how);
    default:
        return desk.lock(card.card, how);
    }
}

} // namespace window
