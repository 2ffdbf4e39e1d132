// SPDX-License-Identifier: Apache-2.0
//
// What it costs to know: an operation of the desk, which asks the card before and after and resets
// it at the end, beside the exported operation. Through a real pcscd, on a card without latency and
// on one that takes 20 ms for each command; exchanges first, then times. Brings its own virtual
// cards:
//
//   tests/support/with-pcscd build/release/desk-bench

#include "bench/ratios.h"
#include "pindesk/desk.hpp"
#include "tests/support/operations.h"
#include "tests/support/vcard.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <sstream>
#include <stdexcept>
#include <string>

namespace {

using pindesk::secret;

constexpr const char* SERIAL = "6200000000000001";

/// The two values between which a PIN is changed to and fro.
constexpr const char* VALUES[] = {CARD_SECRETS[DS_PIN].szValue, "97531864"};

/// A card in a slot, as both sides use it.
struct SPlace {
    pindesk::desk desk;
    pindesk::card card;
    long lSlot;
    std::size_t iValue = 0; ///< of the DS PIN now

    explicit SPlace(long lSlotOf)
        : card(desk.wait_for_card(std::chrono::seconds(20), {.slot = static_cast<int>(lSlotOf)})),
          lSlot(lSlotOf)
    {
        card.hold_to(SERIAL);
    }
};

void Require(bool bDone)
{
    if (!bDone) {
        throw std::runtime_error("an operation fails, or there is no private pcscd");
    }
}

template <bool PROTECT> void DeskChange(SPlace& place)
{
    const char* const szOld = VALUES[place.iValue];
    place.iValue = 1 - place.iValue;
    Require(
        static_cast<bool>(place.desk.change(place.card, secret::ds_pin, szOld, VALUES[place.iValue],
                                            {.no_secure_messaging = !PROTECT})));
}
template <bool PROTECT> void PlainChange(SPlace& place)
{
    const char* const szOld = VALUES[place.iValue];
    place.iValue = 1 - place.iValue;
    Require(Change(DS_PIN, szOld, VALUES[place.iValue],
                   {.bProtect = PROTECT, .szSerial = SERIAL, .lSlot = place.lSlot}) == result::OK);
}

struct SPair {
    const char* szWhat;
    void (*desk)(SPlace& place);
    void (*exported)(SPlace& place);
};
constexpr SPair PAIRS[] = {
    {"verify the CNS PIN",
     [](SPlace& place) {
         Require(static_cast<bool>(
             place.desk.verify(place.card, secret::cns_pin, CARD_SECRETS[CNS_PIN].szValue)));
     },
     [](SPlace& place) {
         Require(Verify(CNS_PIN, CARD_SECRETS[CNS_PIN].szValue,
                        {.szSerial = SERIAL, .lSlot = place.lSlot}) == result::OK);
     }},
    {"change the DS PIN, plain", DeskChange<false>, PlainChange<false>},
    {"change the DS PIN, protected", DeskChange<true>, PlainChange<true>},
};

int Measure(int argc, char** argv)
{
    std::string first, second;
    const char* const szPorts = std::getenv("PINDESK_VPCD_PORTS");
    Require(szPorts != nullptr);
    std::istringstream(szPorts) >> first >> second;
    const CVirtualCard quick({"--protocol", "t1"});
    const CProcess slow({PINDESK_VCARD_PROGRAM, "--port", second, "--latency", "20"});
    SPlace places[] = {SPlace(1), SPlace(2)};
    const auto exchanges = [&](auto operation) {
        const std::size_t cBefore = quick.Commands().size();
        operation(places[0]);
        return quick.Commands().size() - cBefore;
    };
    std::printf("%-36s %14s %14s\n", "exchanges", "desk", "exported");
    for (const SPair& pair : PAIRS) {
        std::printf("%-36s %14zu %14zu\n", pair.szWhat, exchanges(pair.desk),
                    exchanges(pair.exported));
    }
    for (SPlace& place : places) {
        for (const SPair& pair : PAIRS) {
            AddPair(
                std::string(pair.szWhat) + (place.lSlot == 1 ? ", 0 ms" : ", 20 ms"),
                [&] { pair.desk(place); }, [&] { pair.exported(place); });
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
        std::fprintf(stderr, "desk-bench: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
