// SPDX-License-Identifier: Apache-2.0
//
// Eight threads call the library over two in-process readers while the settings and traces change:
//
//   pindesk-soak CALLS [desk]
//
// They call the exported operations, or with "desk" one desk that they all share.
// Each result is the expected one, and from one tenth of the calls to the next neither the heap nor
// the descriptors nor the processor time of a call grow. The thread sanitizer watches the same run.
// With CK_DEBUG_LEVEL=1 in its environment the library traces all the while.

#include "cardlib/traces.h"
#include "pindesk/PCSC_Misc.h"
#include "pindesk/desk.hpp"
#include "tests/support/operations.h"

#include <atomic>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <functional>
#include <iterator>
#include <malloc.h>
#include <numeric>
#include <thread>
#include <vector>

namespace {

constexpr int NO_SUCH_SLOT = 3;
constexpr int PHASES = 10;

struct SStep {
    const char* szName;
    long lExpected;
    std::function<long()> call;
};
using Steps = std::vector<SStep>;

/// One application's PIN and PUK, which no other thread uses on this card.
Steps OwnerOf(ESecret pin, const SCall& call)
{
    const ESecret puk = PukOf(pin);
    const SSecret& row = CARD_SECRETS[pin];
    const char* const szPin = row.szValue;
    const char* const szPuk = CARD_SECRETS[puk].szValue;
    return {
        {"right PIN", result::OK, [=] { return Verify(pin, szPin, call); }},
        {"wrong PIN", row.lWrong, [=] { return Verify(pin, "11111", call); }},
        {"short PIN", row.lLength, [=] { return Verify(pin, "1234", call); }},
        {"change", result::OK, [=] { return Change(pin, szPin, NEW_VALUE, call); }},
        {"right PUK", result::OK, [=] { return Verify(puk, szPuk, call); }},
        {"unblock", result::OK, [=] { return Unblock(pin, szPuk, szPin, call); }},
        {"change PUK", result::OK, [=] { return Change(puk, szPuk, NEW_VALUE, call); }},
        {"change PUK back", result::OK, [=] { return Change(puk, NEW_VALUE, szPuk, call); }},
    };
}

Steps SignatureOwner(const SCall& call)
{
    Steps steps = OwnerOf(DS_PIN, call);
    const SPin puk = CARD_SECRETS[DS_PUK].szValue;
    const SPin pin = CARD_SECRETS[DS_PIN].szValue;
    const SCall withoutAdminKey = {.lSlot = call.lSlot};
    Deactivate(withoutAdminKey); // the card lets nobody do so twice
    Reactivate(puk, pin, call);
    steps.push_back(
        {"deactivate", result::DEACTIVATION_REFUSED, [=] { return Deactivate(withoutAdminKey); }});
    steps.push_back({"reactivate", result::OK, [=] { return Reactivate(puk, pin, call); }});
    return steps;
}

Steps Onlooker(const SCall& call)
{
    const long lSlot = call.lSlot;
    return {
        {"serial number", result::OK, [=] { return ReadSerial(call); }},
        {"no such slot", result::NO_READER, [] { return ReadSerial({.lSlot = NO_SUCH_SLOT}); }},
        {"file system", result::OK,
         [=] {
             long lType = 0;
             return PCSC_GetFSType(lSlot, &lType);
         }},
        {"answer to reset", result::OK,
         [=] {
             char szAtr[80];
             long cch = sizeof szAtr;
             return PCSC_GetATR(lSlot, szAtr, &cch);
         }},
        {"readers", 2,
         [] {
             long nReaders = 0;
             PCSC_GetReadersCount(&nReaders);
             return nReaders;
         }},
        {"connection", result::OK,
         [=] {
             ScardConnection* pConnection = nullptr;
             PCSC_Connect(lSlot, &pConnection);
             const long lValid = PCSC_Valid(pConnection);
             PCSC_Disconnect(pConnection);
             return lValid;
         }},
    };
}

/// A call of the desk, and the outcome that it is to have.
template <class Call> SStep OfDesk(const char* szName, pindesk::outcome expected, Call call)
{
    return {szName, static_cast<long>(expected), [=] { return static_cast<long>(call().outcome); }};
}

/// The same with one PIN and its PUK.
Steps OwnerAt(pindesk::desk& desk, const pindesk::card& card, ESecret pin)
{
    using pindesk::outcome;
    const auto secret = static_cast<pindesk::secret>(pin);
    const char* const szPin = CARD_SECRETS[pin].szValue;
    const char* const szPuk = CARD_SECRETS[PukOf(pin)].szValue;
    const char* const szNew = "97531864";
    const auto verify = [=, &desk](const char* szValue) {
        return desk.verify(card, secret, szValue);
    };
    return {
        OfDesk("right PIN", outcome::done, [=] { return verify(szPin); }),
        OfDesk("wrong PIN", outcome::wrong_secret, [=] { return verify("11111111"); }),
        OfDesk("short PIN", outcome::refused, [=] { return verify("12345"); }),
        OfDesk("change", outcome::done,
               [=, &desk] { return desk.change(card, secret, szPin, szNew); }),
        OfDesk("unblock", outcome::done,
               [=, &desk] { return desk.unblock(card, secret, szPuk, szPin); }),
    };
}

Steps SignatureOwnerAt(pindesk::desk& desk, const pindesk::card& card)
{
    using pindesk::outcome;
    const auto reactivate = [=, &desk] {
        return desk.reactivate(card, CARD_SECRETS[DS_PUK].szValue);
    };
    desk.lock(card); // the card lets nobody do so twice
    reactivate();
    Steps steps = OwnerAt(desk, card, DS_PIN);
    steps.push_back(OfDesk("lock", outcome::card_refused, [=, &desk] { return desk.lock(card); }));
    steps.push_back(OfDesk("reactivate", outcome::refused, reactivate));
    return steps;
}

Steps OnlookerAt(pindesk::desk& desk, const pindesk::card& card)
{
    using pindesk::outcome;
    return {
        OfDesk("status", outcome::done,
               [=, &desk] { return desk.status(card, [](const auto&) { return true; }); }),
        OfDesk("layout", outcome::done,
               [=, &desk] {
                   pindesk::card seen = card;
                   return desk.identify(seen);
               }),
        OfDesk("readers", outcome::done,
               [&desk] { return desk.readers([](const auto&) { return true; }); }),
        OfDesk("no such slot", outcome::no_reader,
               [&desk] { return desk.find({.slot = NO_SUCH_SLOT}).report; }),
    };
}

std::vector<Steps> EightAtOneDesk()
{
    static pindesk::desk s_desk;
    std::vector<Steps> threads;
    for (const int iSlot : {1, 2}) {
        const pindesk::card card = s_desk.find({.slot = iSlot});
        threads.push_back(OwnerAt(s_desk, card, CNS_PIN));
        threads.push_back(SignatureOwnerAt(s_desk, card));
        threads.push_back(OnlookerAt(s_desk, card));
        threads.push_back(OnlookerAt(s_desk, card));
    }
    return threads;
}

std::vector<Steps> EightThreads()
{
    std::vector<Steps> threads;
    for (const long lSlot : {1L, 2L}) {
        const SCall plain = {.lSlot = lSlot};
        threads.push_back(OwnerOf(CNS_PIN, plain));
        threads.push_back(SignatureOwner({.bProtect = 1, .lSlot = lSlot}));
        threads.push_back(Onlooker(plain));
        threads.push_back(Onlooker(plain));
    }
    return threads;
}

std::atomic<bool> g_bFailed = false;

void Repeat(const Steps& steps, long nRounds)
{
    for (long i = 0; i < nRounds && !g_bFailed; ++i) {
        for (const SStep& step : steps) {
            if (const long lResult = step.call(); lResult != step.lExpected) {
                std::printf("%s: %ld instead of %ld\n", step.szName, lResult, step.lExpected);
                g_bFailed = true;
            }
        }
    }
}

/// What a host may do meanwhile. Each setting keeps a value that suits the cards.
void Disturb(const std::stop_token& stop)
{
    for (long i = 0; !stop.stop_requested(); ++i) {
        PINDESK_ChangeSetting("SETTING_TRY_GUARD", i % 2);
        PINDESK_ChangeSetting("SETTING_CNS_PIN", 0x10);
        PINDESK_ChangeSetting("SETTING_OF_THE_HOST", i);
        setenv("CK_DEBUG_LEVEL", i % 2 == 0 ? "1" : "3", 1);
        CK_TraceStdErr("round %ld\n", i);
        CK_TraceEx(0, "never of this type: %ld\n", i);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

struct SSample {
    long cbHeap = 0;
    long nDescriptors = 0;
    double msPerRound = 0;
};

SSample Run(const std::vector<Steps>& threads, long nRounds)
{
    const std::clock_t start = std::clock(); // of the process, whatever else the machine does
    {
        const std::jthread disturbing(Disturb);
        std::vector<std::jthread> running;
        for (const Steps& steps : threads) {
            running.emplace_back(Repeat, std::cref(steps), nRounds);
        }
    }
    const std::clock_t end = std::clock();
    const struct mallinfo2 heap = mallinfo2();
    return {static_cast<long>(heap.uordblks + heap.hblkhd),
            std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}),
            1000.0 * static_cast<double>(end - start) / CLOCKS_PER_SEC /
                static_cast<double>(nRounds)};
}

/// \param bTimed  false where most of the time is the kernel's, for a thread a call.
bool IsFlat(const SSample& early, const SSample& late, bool bTimed)
{
    constexpr long MOST_BYTES = 16'384; // what caches of the threads may keep
    constexpr double MOST_TIME = 1.5;
    return late.cbHeap <= early.cbHeap + MOST_BYTES && late.nDescriptors <= early.nDescriptors &&
           (!bTimed || late.msPerRound <= early.msPerRound * MOST_TIME);
}

} // namespace

int main(int argc, char** argv)
{
    setenv("PINDESK_VCARD2_READER", "PinDesk Virtual Reader 01 00", 1);
    const bool bDesk = argc > 2 && std::string_view(argv[2]) == "desk";
    const std::vector<Steps> threads = bDesk ? EightAtOneDesk() : EightThreads();
    const long nCallsOfRound =
        std::transform_reduce(threads.begin(), threads.end(), 0L, std::plus(),
                              [](const Steps& steps) { return static_cast<long>(steps.size()); });
    const long nCalls = argc > 1 ? std::atol(argv[1]) : 100'000;
    const long nRounds = nCalls / nCallsOfRound / PHASES + 1;

    std::vector<SSample> samples;
    for (int iPhase = 1; iPhase <= PHASES && !g_bFailed; ++iPhase) {
        const SSample& sample = samples.emplace_back(Run(threads, nRounds));
        std::printf("%7ld calls: heap %8ld bytes, %ld descriptors, %.3f ms for %ld calls\n",
                    iPhase * nRounds * nCallsOfRound, sample.cbHeap, sample.nDescriptors,
                    sample.msPerRound, nCallsOfRound);
    }
    const bool bFlat = !g_bFailed && IsFlat(samples[1], samples.back(), !bDesk);
    std::puts(bFlat ? "flat" : "NOT flat");
    return bFlat ? EXIT_SUCCESS : EXIT_FAILURE;
}
