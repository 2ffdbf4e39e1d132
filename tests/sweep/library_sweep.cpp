// SPDX-License-Identifier: Apache-2.0
//
// Every operation, every exchange, every fault, counted at the card: is a secret sent again, a try
// lost, a handle left, the opposite of the card's state reported? Prints a matrix as Markdown, and
// fails when a careful operation did any of it. "quick" takes a part of the exchanges and faults.

#include "tests/support/operations.h"
#include "tests/sweep/cardnotes.h"
#include "tests/sweep/runs.h"

#include "pindesk/PCSC_Misc.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace {

using nlohmann::json;

constexpr const char* WRONG = "11111111";
constexpr const char* OTHER = "97531864";
constexpr const char* SERIAL = "6200000000000001";
constexpr const char* ADMIN_KEY = "ds-kauth";

/// What one run leaves in shared memory.
struct SNotes {
    char before[COUNTERS_SIZE], after[COUNTERS_SIZE];
    long lResult;
    std::size_t cOpen;
};

/// What one run came to.
struct SRun : SCardNotes {
    long lResult;
    std::size_t cOpen;
};

/// An operation, and whether the card has done it.
struct SSubject {
    const char* szName;
    void (*prepare)();
    long (*run)(const SCall& call);
    bool (*done)(const SRun& run); ///< null: it changes nothing
    bool bProtectToo;              ///< also protected, or with the administration key
    const char* szProfile = "cns";
};

void Nothing() {}

void Block(ESecret secret)
{
    for (int i = 0; i < CARD_SECRETS[secret].iTries; ++i) {
        Verify(secret, WRONG);
    }
}

template <ESecret E> long VerifyIt(const SCall& call)
{
    return Verify(E, FRESH[E], call);
}

template <ESecret E> long ChangeIt(const SCall& call)
{
    return Change(E, FRESH[E], OTHER, call);
}

template <ESecret E> long UnblockIt(const SCall& call)
{
    return Unblock(E, FRESH[PukOf(E)], OTHER, call);
}

template <ESecret E> bool HasNewValue(const SRun& run)
{
    return run.NewValue(CARD_SECRETS[E].szName);
}

const SSubject SUBJECTS[] = {
    {"serial number", Nothing, ReadSerial, nullptr, false},
    {"verify the CNS PIN", Nothing, VerifyIt<CNS_PIN>, nullptr, false},
    {"verify a wrong CNS PIN", Nothing, [](const SCall& c) { return Verify(CNS_PIN, WRONG, c); },
     nullptr, false},
    {"verify the DS PIN", Nothing, VerifyIt<DS_PIN>, nullptr, true},
    {"verify all four", Nothing, [](const SCall& c) { return Verify(FRESH, c); }, nullptr, true},
    {"change the CNS PIN", Nothing, ChangeIt<CNS_PIN>, HasNewValue<CNS_PIN>, false},
    {"change the CNS PUK", Nothing, ChangeIt<CNS_PUK>, HasNewValue<CNS_PUK>, false},
    {"change the DS PIN", Nothing, ChangeIt<DS_PIN>, HasNewValue<DS_PIN>, true},
    {"change the DS PUK", Nothing, ChangeIt<DS_PUK>, HasNewValue<DS_PUK>, true},
    {"unblock the CNS PIN", [] { Block(CNS_PIN); }, UnblockIt<CNS_PIN>, HasNewValue<CNS_PIN>,
     false},
    {"unblock the DS PIN", [] { Block(DS_PIN); }, UnblockIt<DS_PIN>, HasNewValue<DS_PIN>, true},
    {"lock", Nothing, Lock, [](const SRun& r) { return !r.Active(); }, true},
    {"reactivate", [] { Deactivate(); },
     [](const SCall& c) { return Reactivate(FRESH[DS_PUK], {}, c); },
     [](const SRun& r) { return r.Active(); }, true},
    {"reactivate with a new PIN", [] { Deactivate(); },
     [](const SCall& c) { return Reactivate(FRESH[DS_PUK], OTHER, c); },
     [](const SRun& r) { return r.Active(); }, true},
    {"unblock Starcos", Nothing,
     [](const SCall&) { return PCSC_Unblock_Starcos(1, CARD_SECRETS[DS_PUK].szValue, OTHER); },
     nullptr, false, "starcos"},
    {"unblock M4 in DF 1111", Nothing,
     [](const SCall&) { return PCSC_Unblock_M4_1111(1, CARD_SECRETS[DS_PUK].szValue, OTHER); },
     nullptr, false, "m4-1111"},
};

/// A fault, as the virtual card takes it behind the number of the APDU.
struct SFault {
    const char* szKind;
    bool bQuick;   ///< in the reduced sweep too
    bool bRefusal; ///< the card's own word: what it leads to is what the card wanted
    bool bForEver; ///< hits all later exchanges as well
};

constexpr SFault FAULTS[] = {
    {"pcsc=8010002F", true, false, false},
    {"pcsc-after=8010002F", true, false, false},
    {"pcsc=80100016", false, false, false},
    {"pcsc-after=80100016", false, false, false},
    {"pcsc=80100079", false, false, false},
    {"pcsc-after=80100079", true, false, false},
    {"empty-before", false, false, false},
    {"empty-after", true, false, false},
    {"bytes-before=1", false, false, false},
    {"bytes-after=1", false, false, false},
    {"bytes-before=257", false, false, false},
    {"bytes-after=257", false, false, false},
    {"mac", true, false, false},
    {"sw=0000", false, false, false},
    {"sw-after=0000", false, false, false},
    {"sw=6F00", false, false, false},
    {"sw-after=6F00", true, false, false},
    {"sw=6110", false, false, false},
    {"sw-after=6110", false, false, false},
    {"sw=6C10", false, false, false},
    {"sw-after=6C10", false, false, false},
    {"sw=6700", true, true, false},
    {"sw-after=6700", true, true, false},
    {"sw=6983", false, true, false},
    {"sw=6A80", false, true, false},
    {"reset", true, false, false},
    {"reset-after", false, false, false},
    {"removed", false, false, false},
    {"removed-after", false, false, false},
    {"pulled", false, false, false},
    {"pulled-after", true, false, false},
    {"swapped", true, false, false},
    {"swapped-after", false, false, false},
    {"killed", false, false, false},
    {"killed-after", true, false, false},
    {"restarted", false, false, false},
    {"restarted-after", false, false, false},
    {"sw=6F00", false, false, true},
    {"pcsc=8010002F", false, false, true},
    {"pcsc=80100079", false, false, true},
    {"empty-before", false, false, true},
};

/// One row of the matrix to come.
struct SPlan {
    const SSubject* pSubject;
    bool bProtect;
    bool bCareful;
    unsigned long ulExchange = 0; ///< counted from 1 behind the preparation; 0: no fault
    const SFault* pFault = nullptr;
    const SRun* pGood = nullptr; ///< the same without a fault
};

void Run(const SPlan& plan, SNotes& notes)
{
    PINDESK_ChangeSetting("SETTING_TRY_GUARD", plan.bCareful);
    std::string strRule;
    if (plan.pFault != nullptr) {
        strRule = std::to_string(SRun::Apdus(plan.pGood->before) + plan.ulExchange) +
                  (plan.pFault->bForEver ? "+:" : ":") + plan.pFault->szKind;
    }
    InsertCard(plan.pSubject->szProfile, strRule);
    plan.pSubject->prepare();
    PCSC_GetReadersCount(std::make_unique<long>().get()); // a card without preparation wakes up
    NoteCounters(notes.before);
    notes.lResult = plan.pSubject->run({.bProtect = plan.bProtect, .szSerial = SERIAL});
    NoteCounters(notes.after);
    notes.cOpen = vcard_open_handles();
}

enum EFinding { SENT_AGAIN, TRY_LOST, KEY_BLOCKED, OTHER_CARD, LEFT_OPEN, OPPOSITE, NO_END, KINDS };
constexpr const char* TITLES[KINDS] = {
    "secret sent again", "try lost",          "key blocked", "another card got a secret",
    "left open",         "said the opposite", "no end"};

/// Whether the code says that the card did not do what it did, or the other way round.
bool SaysTheOpposite(const SPlan& plan, const SRun& run)
{
    using namespace pindesk::result;
    if (plan.pSubject->done == nullptr) {
        return false;
    }
    if (run.lResult == OK) {
        return !plan.pSubject->done(run) || run.Administered();
    }
    // a refusal that the card spoke itself is the card's word
    const bool bSaysRefused = run.lResult == UNBLOCK_CNS_PIN || run.lResult == UNBLOCK_DS_PIN ||
                              run.lResult == DEACTIVATION_REFUSED ||
                              run.lResult == REACTIVATION_REFUSED;
    const std::string strKind = plan.pFault->szKind;
    return bSaysRefused && strKind.compare(0, 3, "sw-") != 0 && plan.pSubject->done(run);
}

/// Adds up what a run did, beside the same run without a fault.
void Judge(const SPlan& plan, const SRun& run, long (&found)[KINDS])
{
    const SRun& good = *plan.pGood;
    bool bAgain = false;
    bool bLost = false;
    for (const auto& [strName, counts] : run.after.items()) {
        if (strName == "card" || strName == "other-card") {
            continue;
        }
        const char* const szName = strName.c_str();
        const bool bKey = strName == ADMIN_KEY;
        bAgain |= !bKey && run.Rise(szName, "presented") > good.Rise(szName, "presented");
        const int nTries = counts.at("tries_left");
        const int nDue = std::min(run.before.at(strName).at("tries_left").get<int>(),
                                  good.after.at(strName).at("tries_left").get<int>());
        bLost |= !bKey && nTries < nDue;
        found[KEY_BLOCKED] += bKey && !plan.pFault->bRefusal && nTries == 0 && nDue > 0;
    }
    found[SENT_AGAIN] += bAgain;
    found[TRY_LOST] += bLost;
    found[LEFT_OPEN] += run.cOpen != 0;
    found[OPPOSITE] += SaysTheOpposite(plan, run);
    found[OTHER_CARD] += run.ToAnotherCard() > 0;
}

SRun Read(const SNotes& notes)
{
    return {{json::parse(notes.before), json::parse(notes.after)}, notes.lResult, notes.cOpen};
}

SRun RunWell(const SPlan& plan)
{
    const CShared<SNotes> notes(1);
    bool bWell = false;
    RunEach(
        1, std::chrono::seconds(20), [&](std::size_t) { Run(plan, notes[0]); },
        [&](std::size_t, EEnd end) { bWell = end == EEnd::WELL; });
    if (!bWell) {
        std::fprintf(stderr, "%s does not even run without a fault\n", plan.pSubject->szName);
        std::exit(2);
    }
    return Read(notes[0]);
}

std::vector<SPlan> Plans(const SPlan& base, bool bQuick)
{
    std::vector<SPlan> plans;
    for (unsigned long n = 1; n <= base.pGood->Exchanges(); ++n) {
        for (const SFault& fault : FAULTS) {
            // without care some loops have no end by design: they are not waited for
            if ((!bQuick || fault.bQuick) && (base.bCareful || !fault.bForEver)) {
                plans.push_back(base);
                plans.back().ulExchange = n;
                plans.back().pFault = &fault;
            }
        }
    }
    return plans;
}

/// All faults on one operation. \return whether all is well
bool Sweep(const SSubject& subject, bool bProtect, bool bCareful, bool bQuick)
{
    SPlan base{&subject, bProtect, bCareful};
    const SRun good = RunWell(base);
    base.pGood = &good;
    const std::vector<SPlan> plans = Plans(base, bQuick);
    const CShared<SNotes> notes(plans.size());
    long found[KINDS] = {};
    RunEach(
        plans.size(), std::chrono::seconds(20), [&](std::size_t i) { Run(plans[i], notes[i]); },
        [&](std::size_t i, EEnd end) {
            long now[KINDS] = {};
            if (end == EEnd::WELL) {
                Judge(plans[i], Read(notes[i]), now);
            } else {
                ++now[NO_END];
            }
            for (int k = 0; k < KINDS; ++k) {
                found[k] += now[k];
                if (now[k] != 0 && bCareful) {
                    std::fprintf(stderr, "%s, %s: exchange %lu, %s: %s, result %ld\n",
                                 subject.szName, bProtect ? "protected" : "plain",
                                 plans[i].ulExchange, plans[i].pFault->szKind, TITLES[k],
                                 notes[i].lResult);
                }
            }
        });
    std::printf("| %s%s | %zu |", subject.szName, bProtect ? ", protected" : "", plans.size());
    long lAll = 0;
    for (const long l : found) {
        std::printf(" %ld |", l);
        lAll += l;
    }
    std::printf("\n");
    std::fflush(stdout);
    return lAll == 0;
}

bool Matrix(bool bCareful, bool bQuick)
{
    std::printf("\n### %s\n\n| operation | runs |", bCareful ? "Careful" : "Not careful");
    for (const char* const szTitle : TITLES) {
        std::printf(" %s |", szTitle);
    }
    std::printf("\n|---|---|---|---|---|---|---|---|---|\n");
    std::fflush(stdout);
    bool bWell = true;
    for (const SSubject& subject : SUBJECTS) {
        for (const bool bProtect : {false, true}) {
            if (!bProtect || subject.bProtectToo) {
                bWell = Sweep(subject, bProtect, bCareful, bQuick) && bWell;
            }
        }
    }
    return bWell;
}

} // namespace

int main(int argc, char** argv)
{
    const bool bQuick = argc > 1 && std::string(argv[1]) == "quick";
    const bool bWell = Matrix(true, bQuick);
    if (!bQuick) {
        Matrix(false, bQuick);
    }
    return bWell ? 0 : 1;
}
