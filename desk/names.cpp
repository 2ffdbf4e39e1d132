// SPDX-License-Identifier: Apache-2.0
//
// The names of the desk's enumerations for programs: English and stable.

#include "desk/state.h"

#include <algorithm>
#include <iterator>

namespace {

template <class Enum> struct SName {
    Enum eValue;
    const char* szName;
};

// Values of a later version have no name here.
template <class Enum, std::size_t N> const char* NameOf(Enum eValue, const SName<Enum> (&names)[N])
{
    const auto* const pName = std::find_if(std::begin(names), std::end(names),
                                           [&](const auto& row) { return row.eValue == eValue; });
    return pName == std::end(names) ? "unknown" : pName->szName;
}

constexpr SName<pindesk_outcome> OUTCOMES[] = {
    {PINDESK_DONE, "done"},
    {PINDESK_USAGE, "usage"},
    {PINDESK_REFUSED, "refused"},
    {PINDESK_WRONG_SECRET, "wrong_secret"},
    {PINDESK_BLOCKED, "blocked"},
    {PINDESK_NO_READER, "no_reader"},
    {PINDESK_NO_CARD, "no_card"},
    {PINDESK_IN_USE, "in_use"},
    {PINDESK_NO_SERVICE, "no_service"},
    {PINDESK_OTHER_CARD, "other_card"},
    {PINDESK_SECURE_MESSAGING_REFUSED, "secure_messaging_refused"},
    {PINDESK_CARD_REFUSED, "card_refused"},
    {PINDESK_OUTCOME_UNKNOWN, "outcome_unknown"},
    {PINDESK_INTERNAL_ERROR, "internal_error"},
};

constexpr SName<pindesk_detail> DETAILS[] = {
    {PINDESK_DETAIL_NONE, "none"},
    {PINDESK_DETAIL_BAD_ARGUMENT, "bad_argument"},
    {PINDESK_DETAIL_SEVERAL_READERS, "several_readers"},
    {PINDESK_DETAIL_SEVERAL_CARDS, "several_cards"},
    {PINDESK_DETAIL_BAD_KEY, "bad_key"},
    {PINDESK_DETAIL_LAST_TRY, "last_try"},
    {PINDESK_DETAIL_DEACTIVATED, "deactivated"},
    {PINDESK_DETAIL_ACTIVE_ALREADY, "active_already"},
    {PINDESK_DETAIL_DEACTIVATED_ALREADY, "deactivated_already"},
    {PINDESK_DETAIL_LENGTH, "length"},
    {PINDESK_DETAIL_NEW_LENGTH, "new_length"},
    {PINDESK_DETAIL_CHARACTERS, "characters"},
    {PINDESK_DETAIL_NEW_CHARACTERS, "new_characters"},
    {PINDESK_DETAIL_NEW_IS_OLD, "new_is_old"},
    {PINDESK_DETAIL_PIN_IS_PUK, "pin_is_puk"},
    {PINDESK_DETAIL_CANCELLED, "cancelled"},
    {PINDESK_DETAIL_BLOCKED_BEFORE, "blocked_before"},
    {PINDESK_DETAIL_BLOCKED_NOW, "blocked_now"},
    {PINDESK_DETAIL_BOTH_BLOCKED, "both_blocked"},
    {PINDESK_DETAIL_NONE_CONNECTED, "none_connected"},
    {PINDESK_DETAIL_NO_SUCH_READER, "no_such_reader"},
    {PINDESK_DETAIL_READER_GONE, "reader_gone"},
    {PINDESK_DETAIL_EMPTY, "empty"},
    {PINDESK_DETAIL_MUTE, "mute"},
    {PINDESK_DETAIL_REMOVED, "removed"},
    {PINDESK_DETAIL_READER_FAILED, "reader_failed"},
    {PINDESK_DETAIL_EXCLUSIVE, "exclusive"},
    {PINDESK_DETAIL_TRANSACTION, "transaction"},
    {PINDESK_DETAIL_STUCK, "stuck"},
    {PINDESK_DETAIL_RESET, "reset"},
    {PINDESK_DETAIL_NOT_RUNNING, "not_running"},
    {PINDESK_DETAIL_NOT_ALLOWED, "not_allowed"},
    {PINDESK_DETAIL_SERVICE_STUCK, "service_stuck"},
    {PINDESK_DETAIL_WRONG_SM_KEY, "wrong_sm_key"},
    {PINDESK_DETAIL_SM_REQUIRED, "sm_required"},
    {PINDESK_DETAIL_ABSENT, "absent"},
    {PINDESK_DETAIL_OTHER_KIND, "other_kind"},
    {PINDESK_DETAIL_NO_SERIAL, "no_serial"},
    {PINDESK_DETAIL_COMMAND_REFUSED, "command_refused"},
    {PINDESK_DETAIL_NEW_VALUE_REFUSED, "new_value_refused"},
    {PINDESK_DETAIL_DEACTIVATION_REFUSED, "deactivation_refused"},
    {PINDESK_DETAIL_REACTIVATION_REFUSED, "reactivation_refused"},
    {PINDESK_DETAIL_ADMIN_KEY_REFUSED, "admin_key_refused"},
    {PINDESK_DETAIL_FIRST_PIN_ONLY, "first_pin_only"},
    {PINDESK_DETAIL_NOT_BACK, "not_back"},
    {PINDESK_DETAIL_OTHER_CAME, "other_came"},
    {PINDESK_DETAIL_NOT_TOLD, "not_told"},
    {PINDESK_DETAIL_TOO_FEW_TRIES, "too_few_tries"},
    {PINDESK_DETAIL_NO_MEMORY, "no_memory"},
    {PINDESK_DETAIL_UNKNOWN_CODE, "unknown_code"},
    {PINDESK_DETAIL_WAITING_FOR_CARD, "waiting_for_card"},
    {PINDESK_DETAIL_WAITING_FOR_READER, "waiting_for_reader"},
    {PINDESK_DETAIL_WAITING_FOR_PROGRAM, "waiting_for_program"},
    {PINDESK_DETAIL_WAITING_FOR_RETURN, "waiting_for_return"},
    {PINDESK_DETAIL_WAITING_FOR_SERVICE, "waiting_for_service"},
};

constexpr SName<pindesk_next> NEXTS[] = {
    {PINDESK_NEXT_NOTHING, "nothing"},
    {PINDESK_NEXT_CHECK_VALUE, "check_value"},
    {PINDESK_NEXT_TRY_NEW_FIRST, "try_new_first"},
    {PINDESK_NEXT_TRY_AGAIN, "try_again"},
    {PINDESK_NEXT_UNBLOCK_CNS, "unblock_cns"},
    {PINDESK_NEXT_UNBLOCK_DS, "unblock_ds"},
    {PINDESK_NEXT_REACTIVATE, "reactivate"},
    {PINDESK_NEXT_ALLOW_LAST_TRY, "allow_last_try"},
    {PINDESK_NEXT_REPLACE_CARD, "replace_card"},
    {PINDESK_NEXT_INSERT_CARD, "insert_card"},
    {PINDESK_NEXT_REINSERT_CARD, "reinsert_card"},
    {PINDESK_NEXT_CONNECT_READER, "connect_reader"},
    {PINDESK_NEXT_CHOOSE_READER, "choose_reader"},
    {PINDESK_NEXT_CLOSE_PROGRAM, "close_program"},
    {PINDESK_NEXT_START_SERVICE, "start_service"},
    {PINDESK_NEXT_GET_RIGHTS, "get_rights"},
    {PINDESK_NEXT_GIVE_SM_KEY, "give_sm_key"},
    {PINDESK_NEXT_USE_SM, "use_sm"},
    {PINDESK_NEXT_GIVE_ADMIN_KEY, "give_admin_key"},
    {PINDESK_NEXT_CHOOSE_VALUE, "choose_value"},
    {PINDESK_NEXT_SEE_STATUS, "see_status"},
    {PINDESK_NEXT_IDENTIFY, "identify"},
};

constexpr SName<pindesk_state> STATES[] = {
    {PINDESK_STATE_NOT_TOLD, "unknown"},        {PINDESK_STATE_READY, "ready"},
    {PINDESK_STATE_LAST_TRY, "last_try"},       {PINDESK_STATE_BLOCKED, "blocked"},
    {PINDESK_STATE_DEACTIVATED, "deactivated"}, {PINDESK_STATE_VERIFIED, "verified"},
    {PINDESK_STATE_ABSENT, "absent"},
};

constexpr SName<pindesk_in_force> IN_FORCE[] = {
    {PINDESK_IN_FORCE_NOT_CONCERNED, "not_concerned"},
    {PINDESK_IN_FORCE_OLD, "old"},
    {PINDESK_IN_FORCE_NEW, "new"},
    {PINDESK_IN_FORCE_UNKNOWN, "unknown"},
};

constexpr SName<pindesk_weakness> WEAKNESSES[] = {
    {PINDESK_WEAKNESS_NONE, "none"},         {PINDESK_WEAKNESS_SAME_DIGIT, "same_digit"},
    {PINDESK_WEAKNESS_RUN, "run"},           {PINDESK_WEAKNESS_FACTORY, "factory"},
    {PINDESK_WEAKNESS_REPEATED, "repeated"},
};

constexpr SName<pindesk_kind> KINDS[] = {
    {PINDESK_KIND_UNKNOWN, "unknown"},
    {PINDESK_KIND_NATIONAL_SERVICES, "national_services"},
    {PINDESK_KIND_CARDOS_M4, "cardos_m4"},
    {PINDESK_KIND_VIRTUAL, "virtual"},
};

constexpr SName<pindesk_event> EVENTS[] = {
    {PINDESK_READER_CAME, "reader_came"},
    {PINDESK_READER_WENT, "reader_went"},
    {PINDESK_CARD_CAME, "card_came"},
    {PINDESK_CARD_WENT, "card_went"},
};

} // namespace

const char* pindesk_outcome_name(pindesk_outcome outcome)
{
    return NameOf(outcome, OUTCOMES);
}

const char* pindesk_detail_name(pindesk_detail detail)
{
    return NameOf(detail, DETAILS);
}

const char* pindesk_next_name(pindesk_next next)
{
    return NameOf(next, NEXTS);
}

const char* pindesk_secret_name(pindesk_secret secret)
{
    const bool bKnown = secret >= PINDESK_CNS_PIN && secret <= PINDESK_OTHER_PUK;
    return bKnown ? desk::TitleOf(secret).szName : "unknown";
}

const char* pindesk_state_name(pindesk_state state)
{
    return NameOf(state, STATES);
}

const char* pindesk_in_force_name(pindesk_in_force in_force)
{
    return NameOf(in_force, IN_FORCE);
}

const char* pindesk_weakness_name(pindesk_weakness weakness)
{
    return NameOf(weakness, WEAKNESSES);
}

const char* pindesk_kind_name(pindesk_kind kind)
{
    return NameOf(kind, KINDS);
}

const char* pindesk_event_name(pindesk_event event)
{
    return NameOf(event, EVENTS);
}

const char* pindesk_version()
{
    return PINDESK_VERSION;
}
