// SPDX-License-Identifier: Apache-2.0
//
// The result of these helpers does not tell a wrong PUK from a refusal of another kind, so only
// what is known is said.

#include "family.h"

#include "card_query.h"
#include "explain.h"
#include "pindesk/PCSC_Misc.h"
#include "readers.h"
#include "report.h"
#include "source.h"

#include <algorithm>
#include <cctype>

namespace tool {

namespace {

constexpr std::size_t MAX_DIGITS = 8;

struct Family {
    const char* name;
    long (*unblock)(long slot, LPCTSTR puk, LPCTSTR pin);
    const char* done;
};
constexpr Family kFamilies[] = {
    {"starcos", PCSC_Unblock_Starcos, "Both PINs are unblocked and have the new value."},
    {"m4-1111", PCSC_Unblock_M4_1111, "The PIN is unblocked and has its new value."},
};

void ReadDigits(const CSource& source, const char* title, bool isNew, CSecretInput& value)
{
    source.Read({title, "up to 8 digits", isNew}, value);
    const bool isNumber = std::all_of(value.data(), value.data() + value.size(),
                                      [](unsigned char c) { return std::isdigit(c) != 0; });
    if (!isNumber || value.size() > MAX_DIGITS) {
        throw CFailure(ExitStatus::Refused, std::string("The ") + title +
                                                " of such a card has up to 8 digits and nothing "
                                                "else. Nothing was sent to the card.");
    }
}

Outcome JudgeUnblock(const Reader& reader, long code)
{
    const Contact contact = ContactWith(reader.name);
    const bool wasSent = code == result::READER_FAILED;
    if (!wasSent) {
        return contact == Contact::Answers ? ExplainedOutcome(code)
                                           : ContactOutcome(contact, reader.name, code);
    }
    Outcome outcome;
    outcome.code = code;
    outcome.status = ExitStatus::CardRefused;
    outcome.message = "The card refused the PUK or the new PIN. A wrong PUK costs a try.";
    outcome.advice = "Check the PUK, and with pindesk identify the kind of the card.";
    if (contact != Contact::Answers) {
        outcome.status = ExitStatus::OutcomeUnknown;
        outcome.message = "The answer was lost. Whether a PIN has its new value is not known.";
        outcome.advice = "Try the new PIN where it is used.";
    }
    return outcome;
}

} // namespace

Outcome UnblockOtherFamily(const Options& options)
{
    const auto* const family =
        std::find_if(std::begin(kFamilies), std::end(kFamilies),
                     [&](const Family& candidate) { return options.family == candidate.name; });
    const CSource pukSource("--puk-from", options.pukFrom);
    const CSource pinSource("--new-from", options.newFrom);
    const Reader reader = LocateCard(options);
    Note(options, "Every wrong PUK costs a try, and a blocked PUK can never be brought back.");
    CSecretInput puk;
    CSecretInput pin;
    ReadDigits(pukSource, "PUK", false, puk);
    ReadDigits(pinSource, "new PIN", true, pin);
    const long code = family->unblock(reader.slot, puk.c_str(), pin.c_str());
    if (code != result::OK) {
        return JudgeUnblock(reader, code);
    }
    Outcome outcome;
    outcome.message = family->done;
    outcome.code = code;
    return outcome;
}

} // namespace tool
