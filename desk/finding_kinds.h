// SPDX-License-Identifier: Apache-2.0
//
// Every finding there is, from the ground up: what it is called, what a call comes to that meets it,
// what happened, why, and what helps. Internal.

#ifndef DESK_FINDING_KINDS_H
#define DESK_FINDING_KINDS_H

#include "desk/findings.h"
#include "desk/words.h"

namespace desk {

constexpr SResult MUTE{PINDESK_NO_CARD, PINDESK_DETAIL_MUTE};
constexpr SResult EXCLUSIVE{PINDESK_IN_USE, PINDESK_DETAIL_EXCLUSIVE};
constexpr SResult NO_READER{PINDESK_NO_READER, PINDESK_DETAIL_NONE_CONNECTED};
constexpr SResult NOT_ALLOWED{PINDESK_NO_SERVICE, PINDESK_DETAIL_NOT_ALLOWED};
constexpr SResult SERVICE_STUCK{PINDESK_NO_SERVICE, PINDESK_DETAIL_SERVICE_STUCK};

// clang-format off
constexpr SFindingKind VERSIONS{
    "versions", AS_IT_SHOULD_BE, DONE,
    Msg("PinDesk {detail}.")};

constexpr SFindingKind SERVICE_RUNNING{
    "service-running", AS_IT_SHOULD_BE, DONE,
    Msg("The PC/SC service is running, and you may use it.")};
constexpr SFindingKind SERVICE_NOT_INSTALLED{
    "service-not-installed", PROBLEM, NOT_RUNNING,
    Msg("The PC/SC service does not answer."),
    Msg("It is not installed on this computer."),
    Msg("Install it: the package is called pcscd.")};
constexpr SFindingKind SERVICE_NOT_RUNNING{
    "service-not-running", PROBLEM, NOT_RUNNING,
    Msg("The PC/SC service does not answer."),
    Msg("It is installed, but it is not running."),
    Msg("Start it: systemctl start pcscd.socket")};
constexpr SFindingKind SERVICE_OUT_OF_REACH{
    "service-out-of-reach", PROBLEM, NOT_RUNNING,
    Msg("The PC/SC service does not answer."),
    Msg("This program may not open the service's socket {detail}: a sandbox or a container "
        "may keep it away."),
    Msg("Give the program access to the socket, or run it outside.")};
constexpr SFindingKind SERVICE_NOT_ACCEPTING{
    "service-not-accepting", PROBLEM, NOT_RUNNING,
    Msg("The PC/SC service does not answer."),
    Msg("Its socket {detail} is there, but no connection comes about: the service cannot start, "
        "or other programs have used up its connections."),
    Msg("Close other programs that use cards. If that does not help, start the service anew: "
        "systemctl restart pcscd")};
constexpr SFindingKind SERVICE_NOT_ALLOWED{
    "service-not-allowed", PROBLEM, NOT_ALLOWED,
    Msg("You are not allowed to use the readers from this session."),
    Msg("The rules of this computer (polkit) let only those use them who sit in front of it, "
        "not over the network or in the background."),
    Msg("Work at the computer itself, or ask its administrator to allow the polkit action "
        "org.debian.pcsc-lite.access_pcsc.")};
constexpr SFindingKind SERVICE_NOT_ANSWERING{
    "service-stuck", PROBLEM, SERVICE_STUCK,
    Msg("The PC/SC service does not answer in time."),
    Msg("It waits for a reader that does not answer."),
    Msg("Unplug the reader, and plug it in again. If that does not help, start the service "
        "anew: systemctl restart pcscd")};
constexpr SFindingKind SERVICE_FAILED{
    "service-failed", PROBLEM, READER_FAILED,
    Msg("The PC/SC service could not list the readers."),
    Msg("It reports a failure of its own."),
    Msg("Start it anew: systemctl restart pcscd")};

constexpr SFindingKind READER_FOUND{
    "reader-found", AS_IT_SHOULD_BE, DONE,
    Msg("The reader {reader} is ready.")};
constexpr SFindingKind READER_NONE{
    "reader-none", PROBLEM, NO_READER,
    Msg("There is no card reader."),
    Msg("None is connected, or its cable has no contact."),
    Msg("Connect a reader, if possible without a hub in between.")};

constexpr SFindingKind READER_WITHOUT_DRIVERS{
    "reader-without-driver", PROBLEM, NO_READER,
    Msg("The reader {reader} is connected, but the PC/SC service does not show it."),
    Msg("No driver for readers is installed."),
    Msg("Install one: the package is called libccid. Then unplug the reader, and plug it in again.")};
constexpr SFindingKind READER_UNKNOWN{
    "reader-without-driver", PROBLEM, NO_READER,
    Msg("The reader {reader} is connected, but the PC/SC service does not show it."),
    Msg("None of the installed drivers knows it."),
    Msg("Install the driver of its maker, or a newer libccid.")};
constexpr SFindingKind READER_TAKEN_BY_KERNEL{
    "reader-taken-by-kernel", PROBLEM, NO_READER,
    Msg("The reader {reader} is connected, but the PC/SC service does not show it."),
    Msg("The kernel's driver {detail} has taken it."),
    Msg("Keep that driver away: write \"blacklist {detail}\" into a file of /etc/modprobe.d whose name "
        "ends with .conf, and start the computer anew.")};
constexpr SFindingKind READER_TAKEN_BY_PROGRAM{
    "reader-taken-by-program", PROBLEM, NO_READER,
    Msg("The reader {reader} is connected, but the PC/SC service does not show it."),
    Msg("A program has taken it for itself, past the service; GnuPG does so."),
    Msg("Close that program (for GnuPG: gpgconf --kill scdaemon). Then unplug the reader, and plug it "
        "in again.")};
constexpr SFindingKind READER_NOT_SHOWN{
    "reader-not-shown", PROBLEM, NO_READER,
    Msg("The reader {reader} is connected, but the PC/SC service does not show it."),
    Msg("Its driver is installed, but could not open it, or the service has not noticed it."),
    Msg("Unplug the reader, and plug it in again. If that does not help, start the service "
        "anew: systemctl restart pcscd")};

constexpr SFindingKind CARD_FOUND{
    "card-found", AS_IT_SHOULD_BE, DONE,
    Msg("There is a card in {reader}: {detail}.")};
constexpr SFindingKind CARD_UNKNOWN{
    "card-unknown", WORTH_KNOWING, DONE,
    Msg("There is a card in {reader}, of a kind that is not known."),
    Msg("Its answer to reset does not say that it is a national services card."),
    Msg("Make sure that it is the right card: pindesk identify")};
constexpr SFindingKind CARD_MUTE{
    "card-mute", PROBLEM, MUTE,
    Msg("The card in {reader} does not answer."),
    Msg("It was inserted the wrong way round, its contacts are dirty, or it is broken."),
    Msg("Insert it with the chip first and the chip's side up. If that does not help, wipe "
        "the contacts with a soft dry cloth, and try another reader.")};
constexpr SFindingKind CARD_MISSING{
    "card-missing", PROBLEM, EMPTY,
    Msg("There is no card in {reader}."),
    Msg("None was inserted, or not far enough."),
    Msg("Insert the card as far as it goes.")};
constexpr SFindingKind READER_EMPTY{
    "reader-empty", AS_IT_SHOULD_BE, DONE,
    Msg("There is no card in {reader}.")};
constexpr SFindingKind CARD_HELD{
    "card-held", WORTH_KNOWING, DONE,
    Msg("Another program uses the card in {reader}."),
    Msg("These programs use the PC/SC service now: {detail}."),
    Msg("If PinDesk has to wait for the card, close that program.")};
constexpr SFindingKind CARD_HELD_BY_UNSEEN{
    "card-held", WORTH_KNOWING, DONE,
    Msg("Another program uses the card in {reader}."),
    Msg("Which one it is may not be seen by you; it belongs to another user."),
    Msg("If PinDesk has to wait for the card, close that program.")};
constexpr SFindingKind CARD_HELD_ALONE{
    "card-held-alone", PROBLEM, EXCLUSIVE,
    Msg("Another program uses the card in {reader} alone."),
    Msg("These programs use the PC/SC service now: {detail}."),
    Msg("Close that program, or wait for its end.")};
constexpr SFindingKind CARD_HELD_ALONE_BY_UNSEEN{
    "card-held-alone", PROBLEM, EXCLUSIVE,
    Msg("Another program uses the card in {reader} alone."),
    Msg("Which one it is may not be seen by you; it belongs to another user."),
    Msg("Close that program, or wait for its end.")};
// clang-format on

} // namespace desk

#endif
