// SPDX-License-Identifier: Apache-2.0
//
// Operations through a real pcscd beside a bare PC/SC program that sends the same commands, on a card
// without latency and on one that takes 20 ms for each command. Needs a private pcscd, and brings its
// own virtual cards:
//
//   tests/support/with-pcscd build/release/operations-bench

#include "bench/bare.h"
#include "bench/ratios.h"
#include "tests/support/operations.h"
#include "tests/support/vcard.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <sstream>
#include <stdexcept>
#include <string>

namespace {

constexpr std::size_t HEADER = sizeof "00 A4 00 00" - 1;

struct SPair {
    const char* szWhat;
    long (*ours)(long lSlot);
    void (*bare)(long lSlot);
};

long ChangeToTheSame(long lSlot, BOOL bProtect)
{
    const SSecret& pin = CARD_SECRETS[DS_PIN];
    return Change(DS_PIN, pin.szValue, pin.szValue,
                  {.bProtect = bProtect, .szSerial = "6200000000000001", .lSlot = lSlot});
}

constexpr SPair PAIRS[] = {
    {"CNS_GetSerial", [](long lSlot) { return ReadSerial({.lSlot = lSlot}); }, BareGetSerial},
    {"change, plain", [](long lSlot) { return ChangeToTheSame(lSlot, 0); }, BareChange},
    {"change, protected", [](long lSlot) { return ChangeToTheSame(lSlot, 1); },
     BareProtectedChange},
};

/// The headers of what the card has received since there were so many commands.
Words Headers(const CVirtualCard& card, std::size_t uSince)
{
    Words commands = card.Commands();
    commands.erase(commands.begin(), commands.begin() + static_cast<long>(uSince));
    for (std::string& command : commands) {
        command.resize(HEADER);
    }
    return commands;
}

/// \throws std::runtime_error  when the two do not send the same
void RequireSame(const SPair& pair, const CVirtualCard& card)
{
    const std::size_t uBefore = card.Commands().size();
    if (pair.ours(1) != result::OK) {
        throw std::runtime_error(std::string(pair.szWhat) + " fails");
    }
    const Words ours = Headers(card, uBefore);
    pair.bare(1);
    if (Headers(card, uBefore + ours.size()) != ours) {
        throw std::runtime_error(std::string(pair.szWhat) +
                                 ": the bare program sends other commands");
    }
}

int Measure(int argc, char** argv)
{
    const char* const szPorts = std::getenv("PINDESK_VPCD_PORTS");
    if (szPorts == nullptr) {
        throw std::runtime_error("it needs tests/support/with-pcscd around it");
    }
    std::string first, second;
    std::istringstream(szPorts) >> first >> second;
    const CVirtualCard quick({"--protocol", "t1"});
    const CProcess slow({PINDESK_VCARD_PROGRAM, "--port", second, "--latency", "20"});
    for (const SPair& pair : PAIRS) {
        RequireSame(pair, quick);
    }
    while (ReadSerial({.lSlot = 2}) != result::OK) { // until pcscd has seen that card too
    }
    for (const long lSlot : {1L, 2L}) {
        for (const SPair& pair : PAIRS) {
            AddPair(
                std::string(pair.szWhat) + (lSlot == 1 ? ", 0 ms" : ", 20 ms"),
                [=] { pair.ours(lSlot); }, [=] { pair.bare(lSlot); });
        }
    }
    return RunPairs(argc, argv);
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return Measure(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "operations-bench: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
