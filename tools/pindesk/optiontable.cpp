// SPDX-License-Identifier: Apache-2.0
//
// The table of the options: what each is called, which verbs take it, and where its value goes.

#include "desk/words.h"
#include "options.h"

namespace tool {

using desk::Msg;

namespace {

constexpr OptionRow Flag(const char* name, unsigned group, const char* text, bool Options::*flag)
{
    return {name, nullptr, group, text, nullptr, flag};
}

constexpr OptionRow ROWS[] = {
    {"--slot", "N", CARD, Msg("The reader in slot N, counted from 1"), &Options::slotText, nullptr},
    {"--reader", "TEXT", CARD,
     Msg("The reader of this name, or the only one with TEXT in its name"), &Options::reader,
     nullptr},
    {"--serial", "S", CARD, Msg("The card with this serial number and no other"), &Options::serial,
     nullptr},
    {"--wait", "[SECONDS]", WAITING,
     Msg("Wait for the card, without end or for so many seconds: --wait=30"), &Options::waitText,
     nullptr},
    {"--timeout", "SECONDS", CARD,
     Msg("How long to wait for other programs or a stuck reader (default: 30)"),
     &Options::timeoutText, nullptr},
    {"--pin-from", "SOURCE", PIN, Msg("Where the PIN comes from"), &Options::pinFrom, nullptr},
    {"--puk-from", "SOURCE", PUK, Msg("Where the PUK comes from"), &Options::pukFrom, nullptr},
    {"--new-from", "SOURCE", NEW, Msg("Where the new value comes from"), &Options::newFrom,
     nullptr},
    Flag("--any-characters", SECRETS, Msg("Values may be printable ASCII, not digits alone"),
         &Options::takesAny),
    Flag("--use-last-try", SECRETS, Msg("Send a value although one try is left"),
         &Options::mayUseLastTry),
    Flag("--keep-verified", SECRETS,
         Msg("Leave what was verified open to every other program; otherwise the card is reset"),
         &Options::keepsVerified),
    {"--family", "FAMILY", FAMILY, Msg("A card of another family: starcos or m4-1111"),
     &Options::family, nullptr},
    Flag("--no-sm", PROTECTED, Msg("Send the DS secrets in clear, without secure messaging"),
         &Options::isPlain),
    {"--sm-key-file", "F", PROTECTED, Msg("The secure-messaging key of the card"),
     &Options::smKeyFile, nullptr},
    {"--admin-key-file", "F", LOCK,
     Msg("Authenticate with this administration key, and block it for good"),
     &Options::adminKeyFile, nullptr},
    Flag("--yes", LOCK, Msg("Do not ask for the word lock"), &Options::isConfirmed),
    Flag("--reset", STATUS, Msg("Reset the card first, unless another program uses it"),
         &Options::resetsFirst),
    Flag("--watch", WATCH, Msg("Print a line a change, until --wait=SECONDS are over"),
         &Options::isWatch),
    {"--bundle", "FILE", DOCTOR, Msg("Write what a help desk needs into FILE, without secrets"),
     &Options::bundle, nullptr},
    {"--set", "NAME=VALUE", SETTINGS, Msg("Change a setting of the library (repeatable)"), nullptr,
     nullptr},
    Flag("--json", ALWAYS, Msg("Print one JSON object"), &Options::isJson),
    Flag("--quiet", ALWAYS, Msg("Print results and errors only"), &Options::isQuiet),
    {"--lang", "en|it", ALWAYS, Msg("The language of texts; otherwise the environment's"),
     &Options::language, nullptr},
    Flag("--help", ALWAYS, Msg("Print this help"), &Options::isHelp),
    Flag("--version", ALWAYS, Msg("Print the version"), &Options::isVersion),
};

} // namespace

const std::span<const OptionRow> OPTIONS = ROWS;

} // namespace tool
