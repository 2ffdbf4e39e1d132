// SPDX-License-Identifier: Apache-2.0

#include "tools/window/look.h"

namespace window {

SCard LookAt(pindesk::desk& desk, const SSeen& seen, const Waiting& waiting)
{
    pindesk::options how;
    how.timeout = pindesk::without_end;
    how.waiting = waiting;
    SCard card{seen.uInsertion, desk.find({std::string(seen.reader.name())}, how)};
    if (!card.card) {
        return card;
    }
    // A name is also taken as a part of another's.
    if (card.card.reader.name() != seen.reader.name()) {
        pindesk_report other = card.card.report.raw();
        other.outcome = PINDESK_OTHER_CARD;
        card.card.report = {other, {}};
        return card;
    }
    card.card.report = desk.identify(card.card, how);
    if (card.card) { // the second call must meet the same card
        const auto take = [&](const pindesk::secret_status& status) {
            card.StatusOf(status.secret) = status;
            return true;
        };
        card.card.report = desk.status(card.card, take, how);
    }
    return card;
}

} // namespace window
