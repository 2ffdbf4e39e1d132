// SPDX-License-Identifier: Apache-2.0
//
// pindesk-vcard: a virtual card in the virtual reader of a real pcscd.

#include "session/pluggedcard.h"
#include "vpcd/plug.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <system_error>

namespace {

constexpr std::uint16_t VPCD_PORT = 35963;
constexpr unsigned LONGEST_LATENCY = 600'000; // ms

/// What the command line says, before any of it is opened or checked by the card.
struct SArguments {
    vcard::SPluggedCardOptions session;
    std::uint16_t usPort = VPCD_PORT;
    unsigned uiLatency = 0;
    std::string strProtocol = "t1";
    std::string strLog;
    std::vector<std::string> faults;
};

std::string JoinedProfiles()
{
    return CLI::detail::join(vcard::ProfileNames(), ", ");
}

void Declare(CLI::App& app, SArguments& arguments)
{
    auto& session = arguments.session;
    app.add_option("--port", arguments.usPort, "TCP port of vpcd's slot")->capture_default_str();
    app.add_option("--profile", session.card.strProfile, "kind of card: " + JoinedProfiles())
        ->check(CLI::IsMember(vcard::ProfileNames()))
        ->capture_default_str();
    app.add_option("--serial", session.card.strSerial, "serial number (default: the profile's)");
    app.add_option("--protocol", arguments.strProtocol, "transmission protocol in the ATR")
        ->check(CLI::IsMember({"t0", "t1"}))
        ->capture_default_str();
    app.add_option("--latency", arguments.uiLatency, "milliseconds before each APDU")
        ->check(CLI::Range(0U, LONGEST_LATENCY));
    app.add_option("--log", arguments.strLog,
                   "append a readable APDU log to FILE (default: standard error), secrets masked")
        ->expected(0, 1)
        ->default_str("-")
        ->type_name("FILE");
    app.add_option("--state", session.statePath, "keep the card's state in FILE, across restarts")
        ->type_name("FILE");
    app.add_option("--counters", session.countersPath,
                   "keep in FILE (JSON) how often each secret arrived and its tries left")
        ->type_name("FILE");
    app.add_flag("--require-sm", session.card.bRequireSm,
                 "insist on secure messaging for the signature secrets");
    app.add_flag("--unpadded", session.card.bUnpadded, "secrets have no padding");
    app.add_option("--fault", arguments.faults,
                   "fail the N-th APDU (repeatable): N:empty, empty-before, short, long, removed, "
                   "removed-after, sw=XXXX, sw-after=XXXX")
        ->type_name("N:KIND")
        ->allow_extra_args(false);
}

vcard::CFaultPlan PlanOf(const std::vector<std::string>& faults)
{
    vcard::CFaultPlan plan;
    for (const auto& strRule : faults) {
        plan.Add(strRule);
    }
    if (plan.NeedsPcsc()) {
        throw std::invalid_argument("a card cannot make pcscd answer a PC/SC code; faults of the "
                                    "kind pcsc exist only in the in-process card");
    }
    return plan;
}

void OpenLog(SArguments& arguments, std::ofstream& file)
{
    if (arguments.strLog.empty()) {
        return;
    }
    if (arguments.strLog == "-") {
        arguments.session.log = &std::cerr;
        return;
    }
    file.open(arguments.strLog, std::ios::app);
    if (!file) {
        throw std::system_error(errno, std::generic_category(), arguments.strLog);
    }
    arguments.session.log = &file;
}

int Run(SArguments& arguments)
{
    const vcard::CStopSignal stop;
    std::ofstream logFile;
    OpenLog(arguments, logFile);
    arguments.session.card.bT1 = arguments.strProtocol == "t1";
    arguments.session.latency = std::chrono::milliseconds(arguments.uiLatency);
    arguments.session.faults = PlanOf(arguments.faults);
    vcard::CPluggedCard card(arguments.session);
    vcard::ServeVpcd(card, arguments.usPort, stop);
    return EXIT_SUCCESS;
}

int ParseAndRun(int argc, char** argv)
{
    CLI::App app(
        "A virtual card in the virtual reader that vpcd adds to pcscd. It stays there until "
        "SIGTERM or SIGINT.",
        "pindesk-vcard");
    SArguments arguments;
    Declare(app, arguments);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error);
    }
    return Run(arguments);
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return ParseAndRun(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "pindesk-vcard: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
