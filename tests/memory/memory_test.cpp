// SPDX-License-Identifier: Apache-2.0
//
// After an operation has returned, no PIN, PUK or key is left in the memory of its process. The
// operations run against the virtual card behind the real PC/SC service, so that the card is in
// another process; each on a stack of its own, which is searched as it was left.

#include "pindesk/PinDesk.h"
#include "tests/memory/ownstack.h"
#include "tests/memory/search.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <thread>

namespace {

/// The name of the virtual card's program.
const char* g_szVirtualCard = nullptr;

/// Four sets of the card's secrets; the first is a fresh card's.
enum ESet { FRESH = 0, FIRST = 4, SECOND = 8 };
enum ESecret { WRONG = 12, KEY };

constexpr CMasked SECRETS[] = {
    {"", "12345678"},
    {"", "87654321"},
    {"", "13572468"},
    {"", "24681357"},
    {"first CNS PIN", "Qz7%kW3!"},
    {"first CNS PUK", "tY5#mB9&"},
    {"first DS PIN", "hR2@xN8+"},
    {"first DS PUK", "uG4=dL6-"},
    {"second CNS PIN", "w?Z83kV:"},
    {"second CNS PUK", "n<J62fT~"},
    {"second DS PIN", "c>P97rM;"},
    {"second DS PUK", "s*H41bX|"},
    {"wrong value", "eV1~pJ0_"},
    {"key", "\x4A\x1F\x73\xC8\x25\x9D\xE0\xB6\x61\xD3\x08\x5E\xF7\x2A\x94\xCB"
            "\x4A\x1F\x73\xC8\x25\x9D\xE0\xB6"},
};

/// What to look for: the secrets but a fresh card's, which occur as numbers, and the key's parts.
constexpr CMasked NEEDLES[] = {
    SECRETS[FIRST],
    SECRETS[FIRST + 1],
    SECRETS[FIRST + 2],
    SECRETS[FIRST + 3],
    SECRETS[SECOND],
    SECRETS[SECOND + 1],
    SECRETS[SECOND + 2],
    SECRETS[SECOND + 3],
    SECRETS[WRONG],
    {"first and last third of the key", "\x4A\x1F\x73\xC8\x25\x9D\xE0\xB6"},
    {"second third of the key", "\x61\xD3\x08\x5E\xF7\x2A\x94\xCB"},
};

/// A set, or one value of it: an operation for a single secret leaves nothing of the others behind
/// to cover what it left itself.
struct SGiven {
    std::size_t set = FRESH;
    int iOnly = -1;

    Byte* Of(CRevealed& s, int i) const
    {
        return iOnly == -1 || iOnly == i ? s[set + static_cast<std::size_t>(i)] : nullptr;
    }
};

constexpr long LENGTH = 8;
constexpr BOOL PLAIN = 0, PROTECTED = 1;

long Verify(CRevealed& s, SGiven given, SGiven, BOOL bProtect)
{
    return CNS_DS_VerifyPinPuk(1, nullptr, given.Of(s, 0), LENGTH, given.Of(s, 1), LENGTH,
                               given.Of(s, 2), LENGTH, given.Of(s, 3), LENGTH, s[KEY], bProtect);
}

long Change(CRevealed& s, SGiven from, SGiven to, BOOL bProtect)
{
    return CNS_DS_ChangePinPuk(1, nullptr, from.Of(s, 0), LENGTH, to.Of(s, 0), LENGTH,
                               from.Of(s, 1), LENGTH, to.Of(s, 1), LENGTH, from.Of(s, 2), LENGTH,
                               to.Of(s, 2), LENGTH, from.Of(s, 3), LENGTH, to.Of(s, 3), LENGTH,
                               s[KEY], bProtect);
}

long Unblock(CRevealed& s, SGiven puks, SGiven pins, BOOL bProtect)
{
    return CNS_DS_UnblockPin(1, nullptr, puks.Of(s, 1), LENGTH, pins.Of(s, 0), LENGTH,
                             puks.Of(s, 3), LENGTH, pins.Of(s, 2), LENGTH, s[KEY], bProtect);
}

struct SOperation {
    const char* szName;
    long lResult;
    long (*pRun)(CRevealed& secrets, SGiven first, SGiven second, BOOL bProtect);
    SGiven first;
    SGiven second;
    BOOL bProtect;
};

/// In an order in which each finds the card as it wants it.
constexpr SOperation OPERATIONS[] = {
    {"change", result::OK, Change, {FRESH}, {FIRST}, PLAIN},
    {"verify", result::OK, Verify, {FIRST}, {}, PLAIN},
    {"verify one", result::OK, Verify, {FIRST, 0}, {}, PLAIN},
    {"verify a wrong one", result::VERIFY_CNS_PUK, Verify, {WRONG - 1, 1}, {}, PLAIN},
    {"change the CNS PIN", result::OK, Change, {FIRST, 0}, {SECOND, 0}, PLAIN},
    {"change the CNS PUK", result::OK, Change, {FIRST, 1}, {SECOND, 1}, PLAIN},
    {"change the DS PIN", result::OK, Change, {FIRST, 2}, {SECOND, 2}, PLAIN},
    {"change the DS PUK", result::OK, Change, {FIRST, 3}, {SECOND, 3}, PLAIN},
    {"unblock the CNS PIN", result::OK, Unblock, {SECOND, 1}, {FIRST, 0}, PLAIN},
    {"unblock both", result::OK, Unblock, {SECOND}, {FIRST}, PLAIN},
    {"verify, protected", result::OK, Verify, {SECOND, 3}, {}, PROTECTED},
    {"a wrong one, protected", result::VERIFY_DS_PIN, Verify, {WRONG - 2, 2}, {}, PROTECTED},
    {"the DS PIN, protected", result::OK, Change, {FIRST, 2}, {SECOND, 2}, PROTECTED},
    {"the DS PUK, protected", result::OK, Change, {SECOND, 3}, {FIRST, 3}, PROTECTED},
    {"unblock, protected", result::OK, Unblock, {FIRST, 3}, {FIRST, 2}, PROTECTED},
};

/// A fresh virtual card in the first reader.
class CVirtualCard {
public:
    CVirtualCard()
    {
        const std::string port = std::getenv("PINDESK_VPCD_PORT");
        const char* const arguments[] = {g_szVirtualCard, "--port", port.c_str(), nullptr};
        if (posix_spawn(&m_pid, g_szVirtualCard, nullptr, nullptr,
                        const_cast<char* const*>(arguments), environ) != 0) {
            throw std::runtime_error("the virtual card does not start");
        }
    }
    ~CVirtualCard()
    {
        kill(m_pid, SIGTERM);
        waitpid(m_pid, nullptr, 0);
    }
    CVirtualCard(const CVirtualCard&) = delete;
    CVirtualCard& operator=(const CVirtualCard&) = delete;

private:
    pid_t m_pid = 0;
};

/// Opens the card and does nothing, until that works.
bool AwaitCard()
{
    constexpr int ATTEMPTS = 300;
    for (int i = 0; i < ATTEMPTS; ++i) {
        if (CNS_DS_UnblockPin(1, nullptr, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, nullptr,
                              0) == result::OK) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return false;
}

std::string Describe(const std::vector<SHit>& hits)
{
    std::string text;
    for (const SHit& hit : hits) {
        text += std::string(hit.szSecret) + " in " + hit.where + "\n";
    }
    return text;
}

TEST(Memory, IsSearchedForWhatAFunctionLeavesOnItsStack)
{
    COwnStack stack;
    stack.Run([] {
        Byte deep[4096]; // the way back covers the frames next to it
        SECRETS[FIRST].Reveal(deep);
    });
    const auto hits = FindInMemory(NEEDLES);
    EXPECT_EQ(1U, hits.size()) << Describe(hits);
}

TEST(Memory, HoldsNoSecretAfterAnOperation)
{
    const CVirtualCard card;
    ASSERT_TRUE(AwaitCard());
    ASSERT_EQ("", Describe(FindInMemory(NEEDLES))) << "the search would find other things";

    for (const SOperation& operation : OPERATIONS) {
        SCOPED_TRACE(operation.szName);
        COwnStack stack;
        long lResult = 0;
        {
            CRevealed secrets(SECRETS);
            ASSERT_GE(FindInMemory(NEEDLES).size(), std::size(NEEDLES)) << "the search is blind";
            stack.Run([&] {
                lResult =
                    operation.pRun(secrets, operation.first, operation.second, operation.bProtect);
            });
        }
        const auto hits = FindInMemory(NEEDLES); // before anything else covers what was left
        EXPECT_EQ(operation.lResult, lResult);
        EXPECT_EQ("", Describe(hits));
    }
}

} // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    if (argc != 2) {
        return EXIT_FAILURE;
    }
    g_szVirtualCard = argv[1];
    return RUN_ALL_TESTS();
}
