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
    pindesk::operation eOperation;
    pindesk::secret eTarget; ///< whose value or state it is about

    /// Which secret is presented; none for lock.
    std::optional<pindesk::secret> Presented() const;
    bool SetsValue() const;
    QString Verb() const;  ///< "Change", for a button
    QString Title() const; ///< "Change the CNS PIN"
};

/// What makes sense for a secret of this card as it stands, most likely first.
std::vector<STask> TasksFor(const SCard& card, pindesk::secret eSecret);
/// Whether the signature PIN can be locked.
bool CanLock(const SCard& card);

struct SValues {
    CValue presented, fresh;
};

/// Carries a task out on the card that was looked at, and on no other.
pindesk::report Carry(pindesk::desk& desk, const STask& task, const SCard& card,
                      const SValues& values, const pindesk::options& how);

} // namespace window

#endif
