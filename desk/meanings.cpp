// SPDX-License-Identifier: Apache-2.0
//
// Secrets, states, outcomes and cards in words.

#include "desk/meanings.h"

#include "desk/put.h"
#include "desk/sized.h"
#include "desk/state.h"
#include "desk/words.h"
#include "pindesk/PCSC_Misc.h"

#include <algorithm>
#include <iterator>

namespace desk {

namespace {

struct SText {
    long lValue;
    const char* szText;
};

template <std::size_t N>
std::string Find(const SText (&rows)[N], long lValue, const char* szLanguage)
{
    const auto* const pRow =
        std::find_if(std::begin(rows), std::end(rows),
                     [lValue](const SText& row) { return row.lValue == lValue; });
    return pRow == std::end(rows) ? std::string() : Tr(szLanguage, pRow->szText);
}

constexpr SText OUTCOMES[] = {
    {PINDESK_DONE, Msg("Done.")},
    {PINDESK_USAGE, Msg("The call or the command line is wrong, or several readers or cards fit.")},
    {PINDESK_REFUSED, Msg("Refused by our own checks; nothing was sent to the card.")},
    {PINDESK_WRONG_SECRET, Msg("The value is wrong, and a try is gone.")},
    {PINDESK_BLOCKED, Msg("The secret is blocked, perhaps by the wrong value just sent.")},
    {PINDESK_NO_READER, Msg("There is no reader, or no such reader.")},
    {PINDESK_NO_CARD,
     Msg("There is no card, it does not answer, or it was removed; nothing was changed.")},
    {PINDESK_IN_USE, Msg("Another program uses the card or the reader.")},
    {PINDESK_NO_SERVICE, Msg("The PC/SC service does not answer, or may not be used.")},
    {PINDESK_OTHER_CARD, Msg("The card's serial number is not the expected one.")},
    {PINDESK_SECURE_MESSAGING_REFUSED, Msg("The card refused the secure messaging.")},
    {PINDESK_CARD_REFUSED, Msg("The card refused the command, or lacks what it is asked for.")},
    {PINDESK_OUTCOME_UNKNOWN,
     Msg("The answer was lost, and the card could not be asked or does not tell.")},
    {PINDESK_INTERNAL_ERROR, Msg("An error of the program, not of the card.")},
};

constexpr SText NEXTS[] = {
    {PINDESK_NEXT_CHECK_VALUE, Msg("Check the value before another try.")},
    {PINDESK_NEXT_TRY_NEW_FIRST, Msg("Try the new value first.")},
    {PINDESK_NEXT_TRY_AGAIN, Msg("Try again.")},
    {PINDESK_NEXT_UNBLOCK_CNS, Msg("Unblock it with the CNS PUK.")},
    {PINDESK_NEXT_UNBLOCK_DS, Msg("Unblock it with the DS PUK.")},
    {PINDESK_NEXT_REACTIVATE, Msg("Bring it back with the DS PUK.")},
    {PINDESK_NEXT_ALLOW_LAST_TRY, Msg("To use that try all the same, allow it.")},
    {PINDESK_NEXT_REPLACE_CARD, Msg("No command brings it back: ask the issuer for another card.")},
    {PINDESK_NEXT_INSERT_CARD, Msg("Insert the card, or wait for it.")},
    {PINDESK_NEXT_REINSERT_CARD,
     Msg("Take the card out, check which way round it goes, and insert it again.")},
    {PINDESK_NEXT_CONNECT_READER, Msg("Connect a reader, or find out why it is not seen.")},
    {PINDESK_NEXT_CHOOSE_READER, Msg("Choose one.")},
    {PINDESK_NEXT_CLOSE_PROGRAM, Msg("Close that program, then try again.")},
    {PINDESK_NEXT_START_SERVICE, Msg("Start it.")},
    {PINDESK_NEXT_GET_RIGHTS,
     Msg("Ask the administrator of this machine for that right, or find out what it takes.")},
    {PINDESK_NEXT_GIVE_SM_KEY, Msg("Try again; if that does not help, give the card's own key.")},
    {PINDESK_NEXT_USE_SM, Msg("Allow secure messaging.")},
    {PINDESK_NEXT_GIVE_ADMIN_KEY, Msg("It may ask for the card's own administration key.")},
    {PINDESK_NEXT_CHOOSE_VALUE, Msg("Choose another value.")},
    {PINDESK_NEXT_SEE_STATUS, Msg("See how many tries are left.")},
    {PINDESK_NEXT_IDENTIFY, Msg("It may be another kind of card.")},
};

constexpr SText WEAKNESSES[] = {
    {PINDESK_WEAKNESS_SAME_DIGIT, Msg("A weak value: the same digit again and again.")},
    {PINDESK_WEAKNESS_RUN, Msg("A weak value: digits in a row.")},
    {PINDESK_WEAKNESS_FACTORY, Msg("A weak value: the one that cards leave the factory with.")},
    {PINDESK_WEAKNESS_REPEATED, Msg("A weak value: a few digits, repeated.")},
};

constexpr SText LAYOUTS[] = {
    {pindesk::layout::UNKNOWN, Msg("no layout that is known here")},
    {pindesk::layout::CNS, Msg("CNS application, no signature application")},
    {pindesk::layout::CNS_AND_DS, Msg("CNS and signature applications")},
    {pindesk::layout::OTHER_DS, Msg("signature application alone")},
    {pindesk::layout::FAST_FILES, Msg("fast PKCS#11 file system")},
    {pindesk::layout::DF_1111, Msg("PIN in DF 1111")},
    {pindesk::layout::WITH_DF_1112, Msg("DF 1112 with EF EF01 beside the other applications")},
};

constexpr SText KINDS[] = {
    {PINDESK_KIND_UNKNOWN, Msg("no kind that is known here")},
    {PINDESK_KIND_NATIONAL_SERVICES, Msg("national services card")},
    {PINDESK_KIND_CARDOS_M4, Msg("CardOS M4")},
    {PINDESK_KIND_VIRTUAL, Msg("PinDesk's virtual card")},
};

constexpr SText STATES[] = {
    {PINDESK_STATE_BLOCKED, Msg("blocked")},
    {PINDESK_STATE_DEACTIVATED, Msg("deactivated")},
    {PINDESK_STATE_VERIFIED,
     Msg("verified by another program; take the card out, and it tells the tries again")},
    {PINDESK_STATE_ABSENT, Msg("not on this card")},
};

std::string StateText(const pindesk_secret_status& status, const char* szLanguage)
{
    if (status.state == PINDESK_STATE_READY || status.state == PINDESK_STATE_LAST_TRY) {
        return TriesText(szLanguage, status.tries_left);
    }
    std::string text = Find(STATES, status.state, szLanguage);
    if (!text.empty()) {
        return text;
    }
    return Tr(szLanguage, "the card does not tell");
}

} // namespace

std::string OutcomeText(const char* szLanguage, pindesk_outcome eOutcome)
{
    return Find(OUTCOMES, eOutcome, szLanguage);
}

std::string NextText(const char* szLanguage, pindesk_next eNext)
{
    return Find(NEXTS, eNext, szLanguage);
}

std::string TriesText(const char* szLanguage, std::int32_t lTries)
{
    return Fill(TrN(szLanguage, "{n} try is left", "{n} tries are left",
                    static_cast<unsigned long>(lTries)),
                {{"n", std::to_string(lTries)}});
}

} // namespace desk

size_t pindesk_secret_title(pindesk_secret secret, const char* language, char* buffer, size_t size)
{
    return desk::Put(buffer, size, [&] {
        return secret >= PINDESK_CNS_PIN && secret <= PINDESK_OTHER_PUK
                   ? std::string(desk::Tr(language, desk::TitleOf(secret).szTitle))
                   : std::string();
    });
}

size_t pindesk_state_text(const pindesk_secret_status* status, const char* language, char* buffer,
                          size_t size)
{
    return desk::Put(buffer, size, [&] { return desk::StateText(desk::Taken(status), language); });
}

size_t pindesk_weakness_text(pindesk_weakness weakness, const char* language, char* buffer,
                             size_t size)
{
    return desk::Put(buffer, size,
                     [&] { return desk::Find(desk::WEAKNESSES, weakness, language); });
}

size_t pindesk_layout_text(int32_t layout, const char* language, char* buffer, size_t size)
{
    return desk::Put(buffer, size, [&] { return desk::Find(desk::LAYOUTS, layout, language); });
}

size_t pindesk_kind_text(pindesk_kind kind, const char* language, char* buffer, size_t size)
{
    return desk::Put(buffer, size, [&] { return desk::Find(desk::KINDS, kind, language); });
}

size_t pindesk_outcome_text(pindesk_outcome outcome, const char* language, char* buffer,
                            size_t size)
{
    return desk::Put(buffer, size, [&] { return desk::OutcomeText(language, outcome); });
}
