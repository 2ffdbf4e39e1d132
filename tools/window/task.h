// SPDX-License-Identifier: Apache-2.0
//
// What can be done with a secret: which of it makes sense now, and doing it.

#ifndef TOOLS_WINDOW_TASK_H
#define TOOLS_WINDOW_TASK_H

#include "tools/window/look.h"
#include "tools/window/value.h"

#include <QString>
#include <optional>
#include <vector>

namespace window {

struct STask {
    pindesk_operation eOperation;
    pindesk_secret eTarget; ///< whose value or state it is about

    /// Which secret is presented; none for lock.
    std::optional<pindesk_secret> Presented() const;
    bool SetsValue() const;
    QString Verb() const;  ///< "Change", for a button
    QString Title() const; ///< "Change the CNS PIN"
};

/// What makes sense for a secret of this card as it stands, most likely first.
std::vector<STask> TasksFor(const SCard& card, pindesk_secret eSecret);
/// Whether the signature PIN can be locked.
bool CanLock(const SCard& card);

struct SValues {
    CValue presented, fresh;
};

/// Carries a task out on the card that was looked at, and on no other.
/// \param uFlags  PINDESK_USE_LAST_TRY, or 0
pindesk_report Carry(pindesk_desk* pDesk, const STask& task, const SCard& card,
                     const SValues& values, std::uint32_t uFlags, const Waiting& waiting);

} // namespace window

#endif
