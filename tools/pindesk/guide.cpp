// SPDX-License-Identifier: Apache-2.0
//
// pindesk without a verb, at a terminal: looks at the card and offers what makes sense now.

#include "client.h"
#include "language.h"
#include "numbers.h"
#include "readers.h"
#include "report.h"
#include "terminal.h"
#include "values.h"
#include "verbs.h"

#include <algorithm>
#include <iostream>

namespace tool {

namespace {

using desk::Msg;

constexpr unsigned Bit(unsigned number)
{
    return 1U << number;
}

constexpr unsigned USABLE =
    Bit(PINDESK_STATE_READY) | Bit(PINDESK_STATE_NOT_TOLD) | Bit(PINDESK_STATE_VERIFIED);
constexpr unsigned IN_NEED = Bit(PINDESK_STATE_BLOCKED) | Bit(PINDESK_STATE_LAST_TRY);
constexpr unsigned DEACTIVATED = Bit(PINDESK_STATE_DEACTIVATED);

/// What is offered when a secret has one of the states, and no PUK that it takes is blocked.
struct Offer {
    const char* text;
    const char *verb, *word;
    pindesk_secret secret;
    unsigned states;
    pindesk_secret puk; ///< the secret itself where none is needed
};
constexpr const char* CHECK = Msg("check the {secret}");
constexpr const char* CHANGE = Msg("change the {secret}");
constexpr const char* UNBLOCK = Msg("set a new {secret} with the PUK");
constexpr Offer OFFERS[] = {
    {CHECK, "verify", "cns-pin", PINDESK_CNS_PIN, USABLE, PINDESK_CNS_PIN},
    {CHANGE, "change", "cns-pin", PINDESK_CNS_PIN, USABLE, PINDESK_CNS_PIN},
    {UNBLOCK, "unblock", "cns", PINDESK_CNS_PIN, IN_NEED, PINDESK_CNS_PUK},
    {CHECK, "verify", "ds-pin", PINDESK_DS_PIN, USABLE, PINDESK_DS_PIN},
    {CHANGE, "change", "ds-pin", PINDESK_DS_PIN, USABLE, PINDESK_DS_PIN},
    {UNBLOCK, "unblock", "ds", PINDESK_DS_PIN, IN_NEED, PINDESK_DS_PUK},
    {Msg("bring the {secret} back with the PUK"), "reactivate", "", PINDESK_DS_PIN, DEACTIVATED,
     PINDESK_DS_PUK},
    {CHANGE, "change", "cns-puk", PINDESK_CNS_PUK, USABLE, PINDESK_CNS_PUK},
    {CHANGE, "change", "ds-puk", PINDESK_DS_PUK, USABLE, PINDESK_DS_PUK},
};

std::vector<Offer> OffersFor(const States& states)
{
    std::vector<Offer> offers;
    std::copy_if(std::begin(OFFERS), std::end(OFFERS), std::back_inserter(offers),
                 [&](const Offer& offer) {
                     const bool hasHelp = offer.puk == offer.secret ||
                                          StateOf(states, offer.puk) != PINDESK_STATE_BLOCKED;
                     return (Bit(StateOf(states, offer.secret)) & offer.states) != 0 && hasHelp;
                 });
    return offers;
}

/// Shows the card, which is waited for.
States Look(const Options& options)
{
    Options patient = options;
    patient.waitMs = PINDESK_FOREVER;
    CClient client(patient);
    States states;
    const pindesk_report report =
        client.Call([&](pindesk_desk* desk, const pindesk_options* call, pindesk_report* filled) {
            return pindesk_status(desk, call, Collect<pindesk_secret_status>, &states, filled);
        });
    std::cout << '\n'
              << Shown(report.reader) << "  " << Shown(report.serial) << '\n'
              << StatusLines(states);
    return states;
}

/// The number of the offer taken, from 1; 0 for none.
std::size_t Choose(const std::vector<Offer>& offers)
{
    std::cout << '\n';
    for (std::size_t i = 0; i < offers.size(); ++i) {
        std::cout << "  " << i + 1 << "  "
                  << Say(offers[i].text, {{"secret", TitleOf(offers[i].secret)}}) << '\n';
    }
    std::cout << std::flush;
    CSecretInput answer;
    std::size_t number = 0;
    const LineEnd end = AskAtTerminal(Say("A number, or nothing to end:") + " ", Echo::On, answer);
    const bool isNumber = end == LineEnd::Complete && ToNumber(answer.View(), DECIMAL, number);
    return isNumber && number <= offers.size() ? number : 0;
}

void Carry(const Options& options)
{
    try {
        Report(options, options.verb->run(options));
    } catch (const CFailure& failure) {
        Report(options, failure.Result());
    }
    TakeInterrupt();
}

} // namespace

Outcome Guide(const Options& options)
{
    for (;;) {
        Options chosen = options;
        const std::vector<Offer> offers = OffersFor(Look(chosen));
        const std::size_t number = offers.empty() ? 0 : Choose(offers);
        if (number == 0) {
            return {};
        }
        const Offer& offer = offers[number - 1];
        chosen.verb = FindVerb(offer.verb);
        chosen.words = {offer.word};
        Carry(chosen);
    }
}

} // namespace tool
