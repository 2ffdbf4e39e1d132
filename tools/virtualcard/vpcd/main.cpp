// SPDX-License-Identifier: Apache-2.0
//
// pindesk-vcard: a virtual card in the virtual reader of a real pcscd.

#include "plugged/options.h"
#include "vpcd/plug.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <string_view>

namespace {

constexpr std::uint16_t VPCD_PORT = 35963;

std::string HelpOf(const vcard::SOption& option)
{
    return option.szName == std::string_view("profile")
               ? "kind of card: " + CLI::detail::join(vcard::ProfileNames(), ", ")
               : option.szHelp;
}

/// Binds an option to its place; values that follow one of them are not its own.
void Declare(CLI::App& app, const vcard::SOption& option, vcard::SPluggedCardOptions& options)
{
    const std::string strSpelling = std::string("--") + option.szName;
    const auto set = [&options, &option, strSpelling](const std::string& strValue) {
        vcard::SetOption(options, option, strSpelling, strValue);
    };
    if (option.szValue == nullptr) {
        app.add_flag_callback(
            strSpelling, [set] { set("1"); }, HelpOf(option));
        return;
    }
    app.add_option_function<std::vector<std::string>>(
           strSpelling,
           [set](const std::vector<std::string>& values) { std::ranges::for_each(values, set); },
           HelpOf(option))
        ->type_name(option.szValue)
        ->allow_extra_args(false);
}

int Run(const vcard::SPluggedCardOptions& options, std::uint16_t usPort)
{
    if (options.faults.NeedsOwnService()) {
        throw std::invalid_argument("a card cannot make pcscd answer a PC/SC code, reset it or end "
                                    "it; such faults exist only in the in-process card");
    }
    const vcard::CStopSignal stop;
    vcard::CPluggedCard card(options);
    vcard::ServeVpcd(card, {usPort, options.arrival, options.absence}, stop);
    return EXIT_SUCCESS;
}

int ParseAndRun(int argc, char** argv)
{
    CLI::App app(
        "A virtual card in the virtual reader that vpcd adds to pcscd. It stays there until "
        "SIGTERM or SIGINT.",
        "pindesk-vcard");
    std::uint16_t usPort = VPCD_PORT;
    vcard::SPluggedCardOptions options;
    app.add_option("--port", usPort, "TCP port of vpcd's slot")->capture_default_str();
    for (const vcard::SOption& option : vcard::Options()) {
        Declare(app, option, options);
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error);
    }
    return Run(options, usPort);
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
