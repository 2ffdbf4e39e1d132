// SPDX-License-Identifier: Apache-2.0
//
// The table of the result codes.

#include "explain.h"

#include "pindesk/PCSC_Misc.h"

#include <algorithm>

namespace tool {

namespace {

constexpr const char* CHECK_LENGTH = "pindesk limits tells the permitted lengths.";
constexpr const char* SEE_STATUS = "Check the value before another try: pindesk status tells how "
                                   "many are left.";
constexpr const char* ISSUER =
    "The card's issuer has to help: no command brings a blocked PUK back.";
constexpr const char* LEARN = "pindesk status tells the tries left.";
constexpr const char* REINSERT = "Take the card out, check which way round it goes, and insert it "
                                 "again.";

using enum ExitStatus;
constexpr CodeMeaning kCodes[] = {
    {result::OK, Done, Stage::NothingSent, "The operation succeeded.", ""},
    {result::NO_CONTEXT, NoService, Stage::NothingSent, "The PC/SC service does not answer.",
     "Start it: systemctl start pcscd.socket"},
    {result::NO_READER, NoReader, Stage::NothingSent, "There is no reader, or no such slot.",
     "pindesk readers lists the readers."},
    {result::NO_CARD, NoCard, Stage::NothingSent,
     "There is no card in the reader, or it could not be connected.", REINSERT},
    {result::SELECT_FAILED, CardRefused, Stage::NothingSent,
     "A file that every card of this kind has could not be selected.",
     "Another kind of card, or a loose contact: pindesk identify tells more."},
    {result::SECURE_MESSAGING, SecureMessagingRefused, Stage::AtProtection,
     "The card refused the secure messaging, or the data in it.",
     "Give the card's own key with --sm-key-file, or try --no-sm."},
    {result::CHANGE_CNS_PIN, CardRefused, Stage::AtNewValue,
     "The old CNS PIN was right, but the card did not take the new one.", LEARN},
    {result::CHANGE_CNS_PUK, CardRefused, Stage::AtNewValue,
     "The old CNS PUK was right, but the card did not take the new one.", LEARN},
    {result::CHANGE_DS_PIN, CardRefused, Stage::AtNewValue,
     "The old DS PIN was right, but the card did not take the new one.", LEARN},
    {result::CHANGE_DS_PUK, CardRefused, Stage::AtNewValue,
     "The old DS PUK was right, but the card did not take the new one.", LEARN},
    {result::UNBLOCK_CNS_PIN, CardRefused, Stage::AfterSecret,
     "The CNS PUK was right, but the card did not take the new CNS PIN.", LEARN},
    {result::UNBLOCK_DS_PIN, CardRefused, Stage::AfterSecret,
     "The DS PUK was right, but the card did not take the new DS PIN.", LEARN},
    {result::VERIFY_CNS_PIN, WrongSecret, Stage::AtSecret, "The CNS PIN was not accepted.",
     SEE_STATUS},
    {result::VERIFY_CNS_PUK, WrongSecret, Stage::AtSecret, "The CNS PUK was not accepted.",
     SEE_STATUS},
    {result::VERIFY_DS_PIN, WrongSecret, Stage::AtSecret, "The DS PIN was not accepted.",
     SEE_STATUS},
    {result::VERIFY_DS_PUK, WrongSecret, Stage::AtSecret, "The DS PUK was not accepted.",
     SEE_STATUS},
    {result::DEACTIVATION_REFUSED, CardRefused, Stage::AfterSecret,
     "The card refused to deactivate the signature PIN.",
     "It may ask for the administration key: --admin-key-file."},
    {result::ADMIN_KEY_REFUSED, CardRefused, Stage::NothingSent,
     "The card did not accept the administration key; the signature PIN stays active.",
     "Check the key file: the card counts wrong keys too."},
    {result::REACTIVATION_REFUSED, CardRefused, Stage::AfterSecret,
     "The DS PUK was right, but the card refused to reactivate the signature PIN.", LEARN},
    {result::NEW_DS_PIN_REFUSED, CardRefused, Stage::AfterSecret,
     "The signature PIN is active again, but the card did not take the new value.",
     "Set it with: pindesk unblock ds"},
    {result::BLOCKED_CNS_PIN, Blocked, Stage::AtBlocked,
     "The CNS PIN is blocked, or the reader failed while a command was on its way.",
     "pindesk status tells which; a blocked CNS PIN comes back with: pindesk unblock cns"},
    {result::BLOCKED_CNS_PUK, Blocked, Stage::AtBlocked, "The CNS PUK is blocked.", ISSUER},
    {result::BLOCKED_DS_PIN, Blocked, Stage::AtBlocked, "The DS PIN is blocked.",
     "Unblock it with the DS PUK: pindesk unblock ds"},
    {result::BLOCKED_DS_PUK, Blocked, Stage::AtBlocked, "The DS PUK is blocked.", ISSUER},
    {result::NEW_CNS_PIN_LENGTH, Refused, Stage::NothingSent,
     "The new CNS PIN has a length that is not permitted.", CHECK_LENGTH},
    {result::NEW_CNS_PUK_LENGTH, Refused, Stage::NothingSent,
     "The new CNS PUK has a length that is not permitted.", CHECK_LENGTH},
    {result::NEW_DS_PIN_LENGTH, Refused, Stage::NothingSent,
     "The new DS PIN has a length that is not permitted.", CHECK_LENGTH},
    {result::NEW_DS_PUK_LENGTH, Refused, Stage::NothingSent,
     "The new DS PUK has a length that is not permitted.", CHECK_LENGTH},
    {result::CNS_PIN_LENGTH, Refused, Stage::NothingSent,
     "The CNS PIN has a length that no CNS PIN can have.", CHECK_LENGTH},
    {result::CNS_PUK_LENGTH, Refused, Stage::NothingSent,
     "The CNS PUK has a length that no CNS PUK can have.", CHECK_LENGTH},
    {result::DS_PIN_LENGTH, Refused, Stage::NothingSent,
     "The DS PIN has a length that no DS PIN can have.", CHECK_LENGTH},
    {result::DS_PUK_LENGTH, Refused, Stage::NothingSent,
     "The DS PUK has a length that no DS PUK can have.", CHECK_LENGTH},
    {result::MISSING_ARGUMENT, InternalError, Stage::NothingSent,
     "The calling program left out an argument.", "An error of that program, not of the card."},
    {result::OTHER_CARD, OtherCard, Stage::NothingSent,
     "The card's serial number is not the expected one.",
     "Insert the right card; pindesk serial tells the number of this one."},
    {result::SERIAL_UNREADABLE, CardRefused, Stage::NothingSent,
     "The card's serial number could not be read.", REINSERT},
    {result::BUFFER_TOO_SMALL, InternalError, Stage::NothingSent,
     "The calling program's buffer is smaller than the answer to reset.",
     "An error of that program, not of the card."},
};

// A positive result is the status word that the last place of a serial number answered.
constexpr CodeMeaning NO_SERIAL = {0x6A82, CardRefused, Stage::NothingSent,
                                   "This card has no serial number where the library looks for it.",
                                   "Another kind of card? See: pindesk identify"};

constexpr CodeMeaning UNKNOWN_CODE = {
    1, InternalError, Stage::AfterSecret,
    "The library answered with a code that this program does not know.",
    "Program and library may be of different versions: pindesk --version"};

} // namespace

const CodeMeaning* FindCode(long code)
{
    const auto* const found =
        std::find_if(std::begin(kCodes), std::end(kCodes),
                     [code](const CodeMeaning& meaning) { return meaning.code == code; });
    return found == std::end(kCodes) ? nullptr : found;
}

const CodeMeaning& MeaningOf(long code)
{
    if (code > 0) {
        return NO_SERIAL;
    }
    const CodeMeaning* const found = FindCode(code);
    return found == nullptr ? UNKNOWN_CODE : *found;
}

Outcome ExplainedOutcome(long code)
{
    const CodeMeaning& meaning = MeaningOf(code);
    Outcome outcome;
    outcome.status = meaning.status;
    outcome.message = meaning.meaning;
    outcome.advice = meaning.advice;
    outcome.code = code;
    if (code > 0) {
        outcome.statusWord = static_cast<std::uint16_t>(code);
    }
    return outcome;
}

} // namespace tool
