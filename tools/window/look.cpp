// SPDX-License-Identifier: Apache-2.0

#include "tools/window/look.h"

#include <cstring>

namespace window {

pindesk_options OptionsFor(const pindesk_reader& reader, const Waiting& waiting)
{
    auto options = Empty<pindesk_options>();
    options.reader = reader.name;
    options.waiting = [](const pindesk_report* pSoFar, void* pContext) {
        (*static_cast<const Waiting*>(pContext))(*pSoFar);
    };
    options.context = const_cast<Waiting*>(&waiting); // NOLINT: it is called, and not changed
    return options;
}

SCard LookAt(pindesk_desk* pDesk, const SSeen& seen, const Waiting& waiting)
{
    SCard card{seen.uInsertion, Empty<pindesk_card>(), {}, Empty<pindesk_report>()};
    pindesk_options options = OptionsFor(seen.reader, waiting);
    options.timeout_ms = PINDESK_FOREVER;
    if (pindesk_identify(pDesk, &options, &card.card, &card.report) != PINDESK_DONE) {
        return card;
    }
    // A name is also taken as a part of another's; and the second call must meet the same card.
    if (std::strcmp(card.card.reader.name, seen.reader.name) != 0) {
        card.report.outcome = PINDESK_OTHER_CARD;
        return card;
    }
    options.serial = card.card.serial[0] == '\0' ? nullptr : card.card.serial;
    const auto take = [](const pindesk_secret_status* pStatus, void* pSecrets) {
        auto& secrets = *static_cast<decltype(card.secrets)*>(pSecrets);
        if (const auto i = static_cast<std::size_t>(pStatus->secret); i < secrets.size()) {
            secrets[i] = *pStatus;
        }
        return 0;
    };
    pindesk_status(pDesk, &options, take, &card.secrets, &card.report);
    return card;
}

} // namespace window
