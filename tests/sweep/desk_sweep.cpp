// SPDX-License-Identifier: Apache-2.0
//
// What the desk says after a fault, beside what holds at the card: every operation with a secret,
// every exchange, every way to lose an answer. Prints a matrix as Markdown, and fails on any
// finding. "quick" takes a part of the operations and faults.

#include "tests/sweep/desk_subjects.h"
#include "tests/sweep/runs.h"

#include "pindesk/PCSC_Misc.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <unistd.h>
#include <vector>

namespace {

using nlohmann::json;
using pindesk::in_force;
using pindesk::outcome;
using pindesk::state;

constexpr const char* SERIAL = "6200000000000001";

/// What a run leaves in shared memory.
struct SNotes {
    char before[COUNTERS_SIZE], after[COUNTERS_SIZE];
    pindesk_report report;
    std::size_t cOpen;
    bool bTakesNew; ///< the card took the new value in the end
};

/// A fault, as the virtual card takes it behind the number of the APDU.
struct SFault {
    const char* szKind;
    bool bQuick;
    bool bGone = false; ///< the card that was there cannot be asked any more
};

constexpr SFault FAULTS[] = {
    {"pcsc=8010002F", true}, {"pcsc-after=8010002F", true},
    {"empty-before", false}, {"empty-after", false},
    {"removed", false},      {"removed-after", true},
    {"reset", true},         {"reset-after", false},
    {"restarted", false},    {"restarted-after", true},
    {"swapped", true, true}, {"swapped-after", false, true},
    {"pulled", false, true}, {"pulled-after", false, true},
};

/// Exchanges of the serial number: until it is known, any card will do that the call does not name.
constexpr unsigned long UNTIL_SERIAL = 4;

/// One run to come.
struct SPlan {
    const char* szProfile;
    const SSubject* pSubject;
    bool bProtect;
    unsigned long ulExchange = 0; ///< counted from 1 behind the preparation; 0: no fault
    const SFault* pFault = nullptr;
    const SRun* pGood = nullptr; ///< the same without a fault
};

void Run(const SPlan& plan, SNotes& notes)
{
    std::string strRule;
    How how{.no_secure_messaging = !plan.bProtect, .use_admin_key = plan.bProtect};
    how.wait = how.timeout = std::chrono::seconds(15);
    if (plan.pFault != nullptr) {
        strRule = std::to_string(SRun::Apdus(plan.pGood->before) + plan.ulExchange) + ":" +
                  plan.pFault->szKind;
        if (plan.pFault->bGone) {
            how.wait = how.timeout = std::chrono::milliseconds(600); // it never comes back
        }
    }
    InsertCard(plan.szProfile, strRule);
    plan.pSubject->prepare();
    PCSC_GetReadersCount(std::make_unique<long>().get()); // a card without preparation wakes up
    NoteCounters(notes.before);
    {
        Desk desk;
        Card card = desk.find();
        if (plan.ulExchange <= UNTIL_SERIAL) {
            card.hold_to(SERIAL);
        }
        notes.report = plan.pSubject->run(desk, card, how).raw();
    }
    NoteCounters(notes.after);
    notes.cOpen = vcard_open_handles();
    if (plan.pFault == nullptr || !plan.pFault->bGone) {
        usleep(2000 * ABSENCE); // the last exchange may have been the one that the card left at
        notes.bTakesNew = Verify(static_cast<ESecret>(notes.report.target), OTHER) == result::OK;
    }
}

SRun Read(const SNotes& notes)
{
    return {{json::parse(notes.before), json::parse(notes.after)},
            {notes.report, ""},
            notes.cOpen,
            notes.bTakesNew};
}

// From NOT_FOUND_OUT on, findings.
enum EColumn {
    SAID_DONE,
    SAID_NOT_DONE,
    SAID_UNKNOWN,
    NOT_FOUND_OUT,
    UNTRUE,
    TRY_LOST,
    OTHER_CARD,
    LEFT_OPEN,
    NO_END,
    COLUMNS
};
constexpr const char* TITLES[COLUMNS] = {"said done",
                                         "said not done",
                                         "said unknown",
                                         "unknown, but could be asked",
                                         "said otherwise than the card",
                                         "try lost",
                                         "another card got a secret",
                                         "left open",
                                         "no end"};

/// Whether a state that was told is the card's.
bool IsTrueState(const SRun& run)
{
    const json& target = run.after.at(std::string(pindesk::name(run.report.target)));
    const bool bBlocked = target.at("tries_left") == 0;
    const bool bActive = target.value("active", true);
    switch (run.report.state) {
    case state::not_told:
        return true;
    case state::deactivated:
        return !bActive;
    case state::blocked:
        return bActive && bBlocked;
    default:
        return bActive && !bBlocked;
    }
}

/// Whether what the report says holds at the card.
bool IsTrue(const SPlan& plan, const SRun& run)
{
    const pindesk::report& report = run.report;
    const bool bWrong = plan.pSubject->done == nullptr;
    const bool bDone = !bWrong && plan.pSubject->done(run);
    const bool bSaysNothing = report.outcome == outcome::unknown ||
                              report.operation == pindesk::operation::verify; // nothing to undo
    const bool bOutcome = report ? bDone : bSaysNothing || !bDone;
    const bool bNew = plan.pFault->bGone
                          ? run.NewValue(std::string(pindesk::name(report.target)).c_str())
                          : run.bTakesNew;
    const std::string strSecret(pindesk::name(report.secret));
    const bool bInForce = (report.in_force != in_force::new_value || bNew) &&
                          (report.in_force != in_force::old_value || !bNew);
    const bool bTries =
        !report.tries_left || run.after.at(strSecret).at("tries_left") == *report.tries_left;
    const bool bJudgedWrong =
        report.outcome == outcome::wrong_secret || report.outcome == outcome::blocked;
    return bOutcome && bInForce && bTries && IsTrueState(run) && bJudgedWrong <= bWrong &&
           !(report && run.Administered());
}

bool LostATry(const SRun& run, const SRun& good)
{
    for (const auto& [strName, counts] : run.after.items()) {
        if (strName != "card" && strName != "other-card") {
            const int nDue = std::min(run.before.at(strName).at("tries_left").get<int>(),
                                      good.after.at(strName).at("tries_left").get<int>());
            if (counts.at("tries_left").get<int>() < nDue) {
                return true;
            }
        }
    }
    return false;
}

using Found = std::array<long, COLUMNS>;

/// Adds up what a run came to.
Found Judge(const SPlan& plan, const SRun& run)
{
    Found found{};
    const bool bUnknown = run.report.outcome == outcome::unknown;
    // a value is not presented again to learn whether it was right: full tries do not tell
    const bool bMayBe = plan.pFault->bGone || run.report.operation == pindesk::operation::verify;
    found[SAID_DONE] += run.report ? 1 : 0;
    found[SAID_NOT_DONE] += !run.report && !bUnknown ? 1 : 0;
    found[SAID_UNKNOWN] += bUnknown && bMayBe ? 1 : 0;
    found[NOT_FOUND_OUT] += bUnknown && !bMayBe ? 1 : 0;
    found[UNTRUE] += IsTrue(plan, run) ? 0 : 1;
    found[TRY_LOST] += LostATry(run, *plan.pGood) ? 1 : 0;
    found[OTHER_CARD] += run.ToAnotherCard() > 0 ? 1 : 0;
    found[LEFT_OPEN] += run.cOpen != 0 ? 1 : 0;
    return found;
}

SRun RunWell(const SPlan& plan)
{
    const CShared<SNotes> notes(1);
    RunEach(
        1, std::chrono::seconds(20), [&](std::size_t) { Run(plan, notes[0]); },
        [&](std::size_t, EEnd end) {
            const auto eDue = plan.pSubject->done == nullptr ? PINDESK_WRONG_SECRET : PINDESK_DONE;
            if (end != EEnd::WELL || notes[0].report.outcome != eDue) {
                std::fprintf(stderr, "%s does not even run without a fault\n",
                             plan.pSubject->szName);
                std::exit(2);
            }
        });
    return Read(notes[0]);
}

std::vector<SPlan> Plans(const SPlan& base, bool bQuick)
{
    std::vector<SPlan> plans;
    for (unsigned long n = 1; n <= base.pGood->Exchanges(); ++n) {
        for (const SFault& fault : FAULTS) {
            if (!bQuick || fault.bQuick) {
                plans.push_back(base);
                plans.back().ulExchange = n;
                plans.back().pFault = &fault;
            }
        }
    }
    return plans;
}

void Tell(const SPlan& plan, const Found& found, const SNotes& notes)
{
    for (std::size_t k = NOT_FOUND_OUT; k < COLUMNS; ++k) {
        if (found[k] != 0) {
            std::fprintf(stderr, "%s, %s, %s: exchange %lu, %s: %s; %s, %s, in force %s\n",
                         plan.szProfile, plan.pSubject->szName,
                         plan.bProtect ? "protected" : "plain", plan.ulExchange,
                         plan.pFault->szKind, TITLES[k], pindesk_outcome_name(notes.report.outcome),
                         pindesk_detail_name(notes.report.detail),
                         pindesk_in_force_name(notes.report.in_force));
        }
    }
}

/// All faults on one operation. \return whether all is well
bool Sweep(SPlan base, bool bQuick)
{
    const SRun good = RunWell(base);
    base.pGood = &good;
    const std::vector<SPlan> plans = Plans(base, bQuick);
    const CShared<SNotes> notes(plans.size());
    Found all{};
    RunEach(
        plans.size(), std::chrono::seconds(60), [&](std::size_t i) { Run(plans[i], notes[i]); },
        [&](std::size_t i, EEnd end) {
            Found found{};
            if (end == EEnd::WELL) {
                found = Judge(plans[i], Read(notes[i]));
            } else {
                found[NO_END] = 1;
            }
            Tell(plans[i], found, notes[i]);
            std::transform(all.begin(), all.end(), found.begin(), all.begin(), std::plus<>());
        });
    std::printf("| %s%s | %zu |", base.pSubject->szName, base.bProtect ? ", protected" : "",
                plans.size());
    for (const long l : all) {
        std::printf(" %ld |", l);
    }
    std::printf("\n");
    std::fflush(stdout);
    return std::all_of(all.begin() + NOT_FOUND_OUT, all.end(), [](long l) { return l == 0; });
}

/// Whether the quick part has an operation on cards of this profile.
bool IsQuick(const SSubject& subject, const char* szProfile)
{
    return subject.szQuick != nullptr && std::strcmp(subject.szQuick, szProfile) == 0;
}

std::vector<SPlan> Operations(const char* szProfile, bool bQuick)
{
    std::vector<SPlan> operations;
    for (const SSubject& subject : SUBJECTS) {
        for (const bool bProtect : {false, true}) {
            const bool bInFull = !bProtect || subject.bProtectToo;
            const bool bInQuick = bProtect == subject.bProtectToo && IsQuick(subject, szProfile);
            if (bQuick ? bInQuick : bInFull) {
                operations.push_back({szProfile, &subject, bProtect});
            }
        }
    }
    return operations;
}

bool Matrix(const char* szProfile, bool bQuick)
{
    const std::vector<SPlan> operations = Operations(szProfile, bQuick);
    if (operations.empty()) {
        return true;
    }
    std::printf("\n### %s\n\n| operation | runs |", szProfile);
    for (const char* const szTitle : TITLES) {
        std::printf(" %s |", szTitle);
    }
    std::printf("\n|---|---|---|---|---|---|---|---|---|---|---|\n");
    bool bWell = true;
    for (const SPlan& operation : operations) {
        bWell = Sweep(operation, bQuick) && bWell;
    }
    return bWell;
}

} // namespace

int main(int argc, char** argv)
{
    const bool bQuick = argc > 1 && std::strcmp(argv[1], "quick") == 0;
    bool bWell = true;
    for (const char* const szProfile : {"cns", "cns-verified", "cns-t0"}) {
        bWell = Matrix(szProfile, bQuick) && bWell;
    }
    return bWell ? 0 : 1;
}
