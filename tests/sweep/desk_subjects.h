// SPDX-License-Identifier: Apache-2.0
//
// The operations that the sweep of the desk goes through, each on a card made ready for it.

#ifndef TESTS_SWEEP_DESK_SUBJECTS_H
#define TESTS_SWEEP_DESK_SUBJECTS_H

#include "pindesk/desk.hpp"
#include "tests/support/operations.h"
#include "tests/sweep/cardnotes.h"

constexpr const char* WRONG = "11111111";
constexpr const char* OTHER = "97531864";

/// What a run came to.
struct SRun : SCardNotes {
    pindesk::report report;
    std::size_t cOpen;
    bool bTakesNew;
};

using Card = pindesk::card;
using Desk = pindesk::desk;
using How = pindesk::options;

/// An operation, and whether the card has done it.
struct SSubject {
    const char* szName;
    void (*prepare)();
    pindesk::report (*run)(Desk& desk, const Card& card, const How& how);
    bool (*done)(const SRun& run); ///< whether the card has done it; null: the value is wrong
    bool bProtectToo;              ///< also protected, or with the administration key
    const char* szQuick = nullptr; ///< the profile with which it is in the quick part
};

inline void Nothing() {}

inline void SpendTries(ESecret secret, int iLeft)
{
    for (int i = iLeft; i < CARD_SECRETS[secret].iTries; ++i) {
        Verify(secret, WRONG);
    }
}

template <ESecret E> void Block()
{
    SpendTries(E, 0);
}
template <ESecret E> void LoseOne()
{
    SpendTries(E, CARD_SECRETS[E].iTries - 1);
}

template <ESecret E> pindesk::report VerifyIt(Desk& desk, const Card& card, const How& how)
{
    return desk.verify(card, static_cast<pindesk::secret>(E), CARD_SECRETS[E].szValue, how);
}
template <ESecret E> pindesk::report ChangeIt(Desk& desk, const Card& card, const How& how)
{
    return desk.change(card, static_cast<pindesk::secret>(E), CARD_SECRETS[E].szValue, OTHER, how);
}
template <ESecret E> pindesk::report UnblockIt(Desk& desk, const Card& card, const How& how)
{
    return desk.unblock(card, static_cast<pindesk::secret>(E), CARD_SECRETS[PukOf(E)].szValue,
                        OTHER, how);
}

template <ESecret E> bool Presented(const SRun& run)
{
    return run.Rise(CARD_SECRETS[E].szName, "presented") > 0;
}
template <ESecret E> bool HasNewValue(const SRun& run)
{
    return run.NewValue(CARD_SECRETS[E].szName);
}

inline const SSubject SUBJECTS[] = {
    {"verify the CNS PIN", Nothing, VerifyIt<CNS_PIN>, Presented<CNS_PIN>, false, "cns"},
    {"verify the CNS PIN, a try lost before", LoseOne<CNS_PIN>, VerifyIt<CNS_PIN>,
     Presented<CNS_PIN>, false},
    {"verify a wrong CNS PIN", Nothing,
     [](Desk& desk, const Card& card, const How& how) {
         return desk.verify(card, pindesk::secret::cns_pin, WRONG, how);
     },
     nullptr, false},
    {"verify the DS PIN", Nothing, VerifyIt<DS_PIN>, Presented<DS_PIN>, true},
    {"change the CNS PIN", Nothing, ChangeIt<CNS_PIN>, HasNewValue<CNS_PIN>, false, "cns-verified"},
    {"change the CNS PIN, a try lost before", LoseOne<CNS_PIN>, ChangeIt<CNS_PIN>,
     HasNewValue<CNS_PIN>, false},
    {"change the DS PIN", Nothing, ChangeIt<DS_PIN>, HasNewValue<DS_PIN>, true, "cns"},
    {"change the DS PUK", Nothing, ChangeIt<DS_PUK>, HasNewValue<DS_PUK>, true},
    {"unblock the CNS PIN", Block<CNS_PIN>, UnblockIt<CNS_PIN>, HasNewValue<CNS_PIN>, false, "cns"},
    {"unblock the CNS PIN, not blocked", Nothing, UnblockIt<CNS_PIN>, HasNewValue<CNS_PIN>, false},
    {"unblock the DS PIN", Block<DS_PIN>, UnblockIt<DS_PIN>, HasNewValue<DS_PIN>, true},
    {"lock", Nothing,
     [](Desk& desk, const Card& card, const How& how) { return desk.lock(card, how); },
     [](const SRun& run) { return !run.Active(); }, true, "cns"},
    {"reactivate", [] { Deactivate(); },
     [](Desk& desk, const Card& card, const How& how) {
         return desk.reactivate(card, CARD_SECRETS[DS_PUK].szValue, {}, how);
     },
     [](const SRun& run) { return run.Active(); }, true},
    {"reactivate with a new PIN", [] { Deactivate(); },
     [](Desk& desk, const Card& card, const How& how) {
         return desk.reactivate(card, CARD_SECRETS[DS_PUK].szValue, OTHER, how);
     },
     [](const SRun& run) { return run.Active() && run.NewValue("ds-pin"); }, true, "cns"},
};

#endif
