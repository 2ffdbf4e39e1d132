// SPDX-License-Identifier: Apache-2.0
//
// After an operation has returned, no PIN, PUK or key is left in the memory of its process. Each
// operation runs in a process of its own, in which it is the first thing that the library does, and
// on a stack of its own, which is searched as it was left. The card is behind the real PC/SC
// service, and so in another process.

#include "cardlib/des3port.h"
#include "pindesk/PCSC_Misc.h"
#include "pindesk/desk.h"
#include "tests/memory/ownstack.h"
#include "tests/memory/search.h"
#include "tests/support/operations.h"
#include "tests/support/vcard.h"

#include <gtest/gtest.h>
#include <iostream>
#include <stdexcept>

namespace {

/// Three sets of the card's secrets, in the order of ESecret; the first is a fresh card's.
constexpr std::size_t OF_FRESH = 0, FIRST = 4, SECOND = 8, WRONG = 12, KEY = 13;

constexpr CMasked VALUES[] = {
    {"", "12345678"},
    {"", "87654321"},
    {"", "13572468"},
    {"", "24681357"},
    {"first CNS PIN", "Qz7%kR"}, // short ones travel padded
    {"first CNS PUK", "tY5#mB9&"},
    {"first DS PIN", "hR2@xW"},
    {"first DS PUK", "uG4=dL6-"},
    {"second CNS PIN", "w?Z83kV:"},
    {"second CNS PUK", "n<J62"},
    {"second DS PIN", "c>P97rM;"},
    {"second DS PUK", "s*H41"},
    {"wrong value", "eV1~pJ0_"},
    {"key", "\x4A\x1F\x73\xC8\x25\x9D\xE0\xB6\x61\xD3\x08\x5E\xF7\x2A\x94\xCB"
            "\x4A\x1F\x73\xC8\x25\x9D\xE0\xB6"},
};

/// What to look for: the values but a fresh card's, which occur as numbers, and the key's parts.
std::vector<CMasked> Needles()
{
    std::vector<CMasked> needles(std::begin(VALUES) + FIRST, std::begin(VALUES) + KEY);
    needles.push_back({"outer parts of the key", "\x4A\x1F\x73\xC8\x25\x9D\xE0\xB6"});
    needles.push_back({"middle part of the key", "\x61\xD3\x08\x5E\xF7\x2A\x94\xCB"});
    return needles;
}

/// The beginnings of the key's schedules, worked out on a stack that is thrown away.
void AddSchedules(std::vector<CMasked>& needles)
{
    constexpr std::size_t PART = 8, ENOUGH = 16;
    needles.reserve(needles.size() + 4);
    COwnStack stack;
    stack.Run([&] {
        Byte key[24];
        VALUES[KEY].Reveal(key);
        for (const std::size_t part : {0UL, 1UL}) {
            for (const int iDirection : {0, 1}) {
                unsigned int schedule[16][2];
                deskey(schedule, key + part * PART, iDirection);
                needles.emplace_back("schedule of the key",
                                     std::span(reinterpret_cast<const Byte*>(schedule), ENOUGH));
            }
        }
    });
}

/// The revealed values as parameters.
class CGiven {
public:
    explicit CGiven(CRevealed& values) : m_values(values) {}

    SPin Pin(std::size_t i) const
    {
        return SPin::At(m_values[i], static_cast<long>(VALUES[i].size()));
    }
    Pins All(std::size_t set) const { return {Pin(set), Pin(set + 1), Pin(set + 2), Pin(set + 3)}; }
    SPin Of(std::size_t set, ESecret secret) const { return Pin(set + secret); }
    SCall Protected() const { return {.bProtect = 1, .pKey = m_values[KEY]}; }
    pindesk_bytes Bytes(std::size_t i) const { return {m_values[i], VALUES[i].size()}; }
    const Byte* Key() const { return m_values[KEY]; }
    const char* Text(std::size_t i) const { return reinterpret_cast<const char*>(m_values[i]); }

private:
    CRevealed& m_values;
};

struct SRow {
    const char* szName;
    long lResult;
    long (*run)(const CGiven& given);
};

/// In an order in which each finds the card as it wants it.
constexpr SRow ON_ONE_CARD[] = {
    {"change", 0, [](auto& g) { return Change(g.All(OF_FRESH), g.All(FIRST)); }},
    {"verify", 0, [](auto& g) { return Verify(g.All(FIRST)); }},
    {"verify one", 0, [](auto& g) { return Verify(CNS_PIN, g.Of(FIRST, CNS_PIN)); }},
    {"a wrong one", -23, [](auto& g) { return Verify(CNS_PUK, g.Pin(WRONG)); }},
    {"change the CNS PIN", 0,
     [](auto& g) { return Change(CNS_PIN, g.Of(FIRST, CNS_PIN), g.Of(SECOND, CNS_PIN)); }},
    {"change the CNS PUK", 0,
     [](auto& g) { return Change(CNS_PUK, g.Of(FIRST, CNS_PUK), g.Of(SECOND, CNS_PUK)); }},
    {"unblock the CNS PIN", 0,
     [](auto& g) { return Unblock(CNS_PIN, g.Of(SECOND, CNS_PUK), g.Of(FIRST, CNS_PIN)); }},
    {"unblock both", 0,
     [](auto& g) {
         return Unblock({SPin(), g.Of(SECOND, CNS_PUK), SPin(), g.Of(FIRST, DS_PUK)}, g.All(FIRST));
     }},
    {"verify, protected", 0,
     [](auto& g) { return Verify(DS_PUK, g.Of(FIRST, DS_PUK), g.Protected()); }},
    {"a wrong one, protected", -24,
     [](auto& g) { return Verify(DS_PIN, g.Pin(WRONG), g.Protected()); }},
    {"the DS PIN, protected", 0,
     [](auto& g) {
         return Change(DS_PIN, g.Of(FIRST, DS_PIN), g.Of(SECOND, DS_PIN), g.Protected());
     }},
    {"the DS PUK, protected", 0,
     [](auto& g) {
         return Change(DS_PUK, g.Of(FIRST, DS_PUK), g.Of(SECOND, DS_PUK), g.Protected());
     }},
    {"unblock, protected", 0,
     [](auto& g) {
         return Unblock(DS_PIN, g.Of(SECOND, DS_PUK), g.Of(FIRST, DS_PIN), g.Protected());
     }},
    {"lock without the key", 0, [](auto& g) { return Lock({.pKey = g.Protected().pKey}); }},
    {"reactivate", 0,
     [](auto& g) { return Reactivate(g.Of(SECOND, DS_PUK), g.Of(SECOND, DS_PIN)); }},
    {"lock with the key", 0, [](auto& g) { return Lock(g.Protected()); }},
    {"reactivate, protected", 0,
     [](auto& g) { return Reactivate(g.Of(SECOND, DS_PUK), g.Of(FIRST, DS_PIN), g.Protected()); }},
};
/// A call through a desk of its own: with the key, or in clear and without it.
template <class TCall> long OnDesk(const CGiven& given, bool bProtected, TCall call)
{
    pindesk_desk* const pDesk = pindesk_open();
    pindesk_options options{};
    options.size = sizeof options;
    options.flags = PINDESK_ANY_CHARACTERS;
    if (!bProtected) {
        options.flags |= PINDESK_NO_SECURE_MESSAGING;
    }
    options.sm_key = options.admin_key = bProtected ? given.Key() : nullptr;
    const pindesk_outcome eOutcome = call(pDesk, &options);
    pindesk_close(pDesk);
    return eOutcome;
}

template <pindesk_secret SECRET, std::size_t VALUE, bool PROTECTED> long DeskVerify(const CGiven& g)
{
    return OnDesk(g, PROTECTED, [&](auto* pDesk, auto* pOptions) {
        return pindesk_verify(pDesk, SECRET, g.Bytes(VALUE), pOptions, nullptr);
    });
}

template <pindesk_secret SECRET, std::size_t FROM, std::size_t TO, bool PROTECTED>
long DeskChange(const CGiven& g)
{
    return OnDesk(g, PROTECTED, [&](auto* pDesk, auto* pOptions) {
        return pindesk_change(pDesk, SECRET, g.Bytes(FROM), g.Bytes(TO), pOptions, nullptr);
    });
}

template <pindesk_secret PIN, std::size_t PUK, std::size_t TO, bool PROTECTED>
long DeskUnblock(const CGiven& g)
{
    return OnDesk(g, PROTECTED, [&](auto* pDesk, auto* pOptions) {
        return pindesk_unblock(pDesk, PIN, g.Bytes(PUK), g.Bytes(TO), pOptions, nullptr);
    });
}

template <bool PROTECTED> long DeskLock(const CGiven& g)
{
    return OnDesk(g, PROTECTED, [&](auto* pDesk, auto* pOptions) {
        pindesk_set_key(pDesk, PINDESK_KEY_SECURE_MESSAGING, g.Key());
        return pindesk_lock(pDesk, pOptions, nullptr);
    });
}

template <std::size_t TO, bool PROTECTED> long DeskReactivate(const CGiven& g)
{
    return OnDesk(g, PROTECTED, [&](auto* pDesk, auto* pOptions) {
        return pindesk_reactivate(pDesk, g.Bytes(FIRST + DS_PUK), g.Bytes(TO), pOptions, nullptr);
    });
}

template <pindesk_operation FAMILY> long DeskFamily(const CGiven& g)
{
    return OnDesk(g, false, [&](auto* pDesk, auto* pOptions) {
        pOptions->flags |= PINDESK_USE_LAST_TRY;
        return pindesk_unblock_family(pDesk, FAMILY, g.Bytes(WRONG), g.Bytes(FIRST), pOptions,
                                      nullptr);
    });
}

/// Likewise.
constexpr SRow ON_DESKS[] = {
    {"desk: CNS PIN", 0, DeskChange<PINDESK_CNS_PIN, OF_FRESH, FIRST, false>},
    {"desk: CNS PUK", 0, DeskChange<PINDESK_CNS_PUK, OF_FRESH + CNS_PUK, FIRST + CNS_PUK, false>},
    {"desk: verify", 0, DeskVerify<PINDESK_CNS_PIN, FIRST, false>},
    {"desk: a wrong one", PINDESK_WRONG_SECRET, DeskVerify<PINDESK_CNS_PIN, WRONG, false>},
    {"desk: unblock CNS", 0, DeskUnblock<PINDESK_CNS_PIN, FIRST + CNS_PUK, SECOND, false>},
    {"desk: DS PIN, protected", 0,
     DeskChange<PINDESK_DS_PIN, OF_FRESH + DS_PIN, FIRST + DS_PIN, true>},
    {"desk: DS PUK, protected", 0,
     DeskChange<PINDESK_DS_PUK, OF_FRESH + DS_PUK, FIRST + DS_PUK, true>},
    {"desk: verify, protected", 0, DeskVerify<PINDESK_DS_PUK, FIRST + DS_PUK, true>},
    {"desk: a wrong one, protected", PINDESK_WRONG_SECRET, DeskVerify<PINDESK_DS_PIN, WRONG, true>},
    {"desk: unblock DS, protected", 0,
     DeskUnblock<PINDESK_DS_PIN, FIRST + DS_PUK, SECOND + DS_PIN, true>},
    {"desk: DS PIN", 0, DeskChange<PINDESK_DS_PIN, SECOND + DS_PIN, FIRST + DS_PIN, false>},
    {"desk: unblock DS", 0, DeskUnblock<PINDESK_DS_PIN, FIRST + DS_PUK, SECOND + DS_PIN, false>},
    {"desk: lock", 0, DeskLock<false>},
    {"desk: reactivate", 0, DeskReactivate<FIRST + DS_PIN, false>},
    {"desk: lock, protected", 0, DeskLock<true>},
    {"desk: reactivate, protected", 0, DeskReactivate<SECOND + DS_PIN, true>},
};
/// Two on a card of each other family.
constexpr SRow ON_OTHERS[] = {
    {"starcos", -32, [](auto& g) { return PCSC_Unblock_Starcos(1, g.Text(WRONG), g.Text(FIRST)); }},
    {"desk: starcos", PINDESK_WRONG_SECRET, DeskFamily<PINDESK_OP_UNBLOCK_STARCOS>},
    {"m4-1111", -32, [](auto& g) { return PCSC_Unblock_M4_1111(1, g.Text(WRONG), g.Text(FIRST)); }},
    {"desk: m4-1111", PINDESK_WRONG_SECRET, DeskFamily<PINDESK_OP_UNBLOCK_M4_1111>},
};

std::string Describe(const std::vector<SHit>& hits)
{
    std::string text;
    for (const SHit& hit : hits) {
        text += std::string(hit.szSecret) + " in " + hit.where + "\n";
    }
    return text;
}

/// The child's part: the row, and then the search before anything else covers what was left.
void RunHere(const SRow& row)
{
    std::vector<CMasked> needles = Needles();
    COwnStack stack;
    long lResult = 0;
    {
        CRevealed values(VALUES);
        if (FindInMemory(needles).size() < needles.size()) {
            std::cout << "the search is blind\n";
        }
        const CGiven given(values);
        stack.Run([&] { lResult = row.run(given); });
    }
    const auto hits = FindInMemory(needles);
    AddSchedules(needles);
    const std::span schedules(needles.end() - 4, needles.end());
    std::cout << lResult << '\n' << Describe(hits) << Describe(FindInMemory(schedules));
}

/// The row that a child is asked for.
const SRow* Find(const std::string& name)
{
    for (const std::span<const SRow> rows :
         {std::span<const SRow>(ON_ONE_CARD), std::span<const SRow>(ON_DESKS),
          std::span<const SRow>(ON_OTHERS)}) {
        for (const SRow& row : rows) {
            if (row.szName == name) {
                return &row;
            }
        }
    }
    throw std::invalid_argument(name);
}

void ExpectNothingLeft(const SRow& row)
{
    const SFinished child = RunProgram({"/proc/self/exe", "--row", row.szName});
    EXPECT_EQ(0, child.status) << row.szName << ": " << child.err;
    EXPECT_EQ(std::to_string(row.lResult) + "\n", child.out) << row.szName;
}

TEST(Memory, IsSearchedForWhatAFunctionLeavesOnItsStack)
{
    COwnStack stack;
    stack.Run([] {
        Byte deep[4096]; // the way back covers the frames next to it
        VALUES[FIRST].Reveal(deep);
    });
    const auto hits = FindInMemory(Needles());
    EXPECT_EQ(1U, hits.size()) << Describe(hits);
}

TEST(Memory, HoldsNoSecretAfterAnOperation)
{
    const CVirtualCard card;
    for (const SRow& row : ON_ONE_CARD) {
        ExpectNothingLeft(row);
    }
}

TEST(Memory, HoldsNoSecretAfterAnOperationOfTheDesk)
{
    const CVirtualCard card;
    for (const SRow& row : ON_DESKS) {
        ExpectNothingLeft(row);
    }
}

TEST(Memory, HoldsNoSecretAfterUnblockingACardOfAnotherFamily)
{
    for (const SRow& row : ON_OTHERS) {
        const std::string profile = row.szName;
        const CVirtualCard card({"--profile", profile.substr(profile.find(' ') + 1)});
        ExpectNothingLeft(row);
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 3 && argv[1] == std::string("--row")) {
        RunHere(*Find(argv[2]));
        return 0;
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
