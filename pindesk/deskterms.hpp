// SPDX-License-Identifier: Apache-2.0
//
// The enumerations of desk.h as enum classes, with the same numbers; desk.h says what each means.
// C++17. Included by desk.hpp.

#ifndef PINDESK_DESKTERMS_HPP
#define PINDESK_DESKTERMS_HPP

#include "pindesk/desk.h"

// NOLINTBEGIN(readability-identifier-naming): named like what it is used with, the standard library
namespace pindesk {

/// What a call came to.
enum class outcome {
    done = PINDESK_DONE,
    usage = PINDESK_USAGE,
    refused = PINDESK_REFUSED,
    wrong_secret = PINDESK_WRONG_SECRET,
    blocked = PINDESK_BLOCKED,
    no_reader = PINDESK_NO_READER,
    no_card = PINDESK_NO_CARD,
    in_use = PINDESK_IN_USE,
    no_service = PINDESK_NO_SERVICE,
    other_card = PINDESK_OTHER_CARD,
    secure_messaging_refused = PINDESK_SECURE_MESSAGING_REFUSED,
    card_refused = PINDESK_CARD_REFUSED,
    unknown = PINDESK_OUTCOME_UNKNOWN,
    internal_error = PINDESK_INTERNAL_ERROR,
};

/// Why, where the outcome alone does not tell; also what is waited for.
enum class detail {
    none = PINDESK_DETAIL_NONE,
    bad_argument = PINDESK_DETAIL_BAD_ARGUMENT,
    several_readers = PINDESK_DETAIL_SEVERAL_READERS,
    several_cards = PINDESK_DETAIL_SEVERAL_CARDS,
    last_try = PINDESK_DETAIL_LAST_TRY,
    deactivated = PINDESK_DETAIL_DEACTIVATED,
    active_already = PINDESK_DETAIL_ACTIVE_ALREADY,
    deactivated_already = PINDESK_DETAIL_DEACTIVATED_ALREADY,
    length = PINDESK_DETAIL_LENGTH,
    new_length = PINDESK_DETAIL_NEW_LENGTH,
    characters = PINDESK_DETAIL_CHARACTERS,
    new_characters = PINDESK_DETAIL_NEW_CHARACTERS,
    new_is_old = PINDESK_DETAIL_NEW_IS_OLD,
    pin_is_puk = PINDESK_DETAIL_PIN_IS_PUK,
    cancelled = PINDESK_DETAIL_CANCELLED,
    bad_key = PINDESK_DETAIL_BAD_KEY,
    blocked_before = PINDESK_DETAIL_BLOCKED_BEFORE,
    blocked_now = PINDESK_DETAIL_BLOCKED_NOW,
    both_blocked = PINDESK_DETAIL_BOTH_BLOCKED,
    none_connected = PINDESK_DETAIL_NONE_CONNECTED,
    no_such_reader = PINDESK_DETAIL_NO_SUCH_READER,
    reader_gone = PINDESK_DETAIL_READER_GONE,
    empty = PINDESK_DETAIL_EMPTY,
    mute = PINDESK_DETAIL_MUTE,
    removed = PINDESK_DETAIL_REMOVED,
    reader_failed = PINDESK_DETAIL_READER_FAILED,
    exclusive = PINDESK_DETAIL_EXCLUSIVE,
    transaction = PINDESK_DETAIL_TRANSACTION,
    stuck = PINDESK_DETAIL_STUCK,
    reset = PINDESK_DETAIL_RESET,
    not_running = PINDESK_DETAIL_NOT_RUNNING,
    not_allowed = PINDESK_DETAIL_NOT_ALLOWED,
    service_stuck = PINDESK_DETAIL_SERVICE_STUCK,
    wrong_sm_key = PINDESK_DETAIL_WRONG_SM_KEY,
    sm_required = PINDESK_DETAIL_SM_REQUIRED,
    absent = PINDESK_DETAIL_ABSENT,
    other_kind = PINDESK_DETAIL_OTHER_KIND,
    no_serial = PINDESK_DETAIL_NO_SERIAL,
    command_refused = PINDESK_DETAIL_COMMAND_REFUSED,
    new_value_refused = PINDESK_DETAIL_NEW_VALUE_REFUSED,
    deactivation_refused = PINDESK_DETAIL_DEACTIVATION_REFUSED,
    reactivation_refused = PINDESK_DETAIL_REACTIVATION_REFUSED,
    admin_key_refused = PINDESK_DETAIL_ADMIN_KEY_REFUSED,
    first_pin_only = PINDESK_DETAIL_FIRST_PIN_ONLY,
    not_back = PINDESK_DETAIL_NOT_BACK,
    other_came = PINDESK_DETAIL_OTHER_CAME,
    not_told = PINDESK_DETAIL_NOT_TOLD,
    too_few_tries = PINDESK_DETAIL_TOO_FEW_TRIES,
    no_memory = PINDESK_DETAIL_NO_MEMORY,
    unknown_code = PINDESK_DETAIL_UNKNOWN_CODE,
    waiting_for_card = PINDESK_DETAIL_WAITING_FOR_CARD,
    waiting_for_reader = PINDESK_DETAIL_WAITING_FOR_READER,
    waiting_for_program = PINDESK_DETAIL_WAITING_FOR_PROGRAM,
    waiting_for_return = PINDESK_DETAIL_WAITING_FOR_RETURN,
    waiting_for_service = PINDESK_DETAIL_WAITING_FOR_SERVICE,
};

/// What makes sense next.
enum class next {
    nothing = PINDESK_NEXT_NOTHING,
    check_value = PINDESK_NEXT_CHECK_VALUE,
    try_new_first = PINDESK_NEXT_TRY_NEW_FIRST,
    try_again = PINDESK_NEXT_TRY_AGAIN,
    unblock_cns = PINDESK_NEXT_UNBLOCK_CNS,
    unblock_ds = PINDESK_NEXT_UNBLOCK_DS,
    reactivate = PINDESK_NEXT_REACTIVATE,
    allow_last_try = PINDESK_NEXT_ALLOW_LAST_TRY,
    replace_card = PINDESK_NEXT_REPLACE_CARD,
    insert_card = PINDESK_NEXT_INSERT_CARD,
    reinsert_card = PINDESK_NEXT_REINSERT_CARD,
    connect_reader = PINDESK_NEXT_CONNECT_READER,
    choose_reader = PINDESK_NEXT_CHOOSE_READER,
    close_program = PINDESK_NEXT_CLOSE_PROGRAM,
    start_service = PINDESK_NEXT_START_SERVICE,
    get_rights = PINDESK_NEXT_GET_RIGHTS,
    give_sm_key = PINDESK_NEXT_GIVE_SM_KEY,
    use_sm = PINDESK_NEXT_USE_SM,
    give_admin_key = PINDESK_NEXT_GIVE_ADMIN_KEY,
    choose_value = PINDESK_NEXT_CHOOSE_VALUE,
    see_status = PINDESK_NEXT_SEE_STATUS,
    identify = PINDESK_NEXT_IDENTIFY,
};

enum class operation {
    look = PINDESK_OP_LOOK,
    verify = PINDESK_OP_VERIFY,
    change = PINDESK_OP_CHANGE,
    unblock = PINDESK_OP_UNBLOCK,
    lock = PINDESK_OP_LOCK,
    reactivate = PINDESK_OP_REACTIVATE,
    unblock_starcos = PINDESK_OP_UNBLOCK_STARCOS,
    unblock_m4_1111 = PINDESK_OP_UNBLOCK_M4_1111,
};

enum class secret {
    cns_pin = PINDESK_CNS_PIN,
    cns_puk = PINDESK_CNS_PUK,
    ds_pin = PINDESK_DS_PIN,
    ds_puk = PINDESK_DS_PUK,
    other_pin = PINDESK_OTHER_PIN,
    other_puk = PINDESK_OTHER_PUK,
};

enum class state {
    not_told = PINDESK_STATE_NOT_TOLD,
    ready = PINDESK_STATE_READY,
    last_try = PINDESK_STATE_LAST_TRY,
    blocked = PINDESK_STATE_BLOCKED,
    deactivated = PINDESK_STATE_DEACTIVATED,
    verified = PINDESK_STATE_VERIFIED,
    absent = PINDESK_STATE_ABSENT,
};

/// Which value holds now.
enum class in_force {
    not_concerned = PINDESK_IN_FORCE_NOT_CONCERNED,
    old_value = PINDESK_IN_FORCE_OLD,
    new_value = PINDESK_IN_FORCE_NEW,
    unknown = PINDESK_IN_FORCE_UNKNOWN,
};

/// Why a new value is a weak one.
enum class weakness {
    none = PINDESK_WEAKNESS_NONE,
    same_digit = PINDESK_WEAKNESS_SAME_DIGIT,
    run = PINDESK_WEAKNESS_RUN,
    factory = PINDESK_WEAKNESS_FACTORY,
    repeated = PINDESK_WEAKNESS_REPEATED,
};

/// Kind of card, from its answer to reset.
enum class kind {
    unknown = PINDESK_KIND_UNKNOWN,
    national_services = PINDESK_KIND_NATIONAL_SERVICES,
    cardos_m4 = PINDESK_KIND_CARDOS_M4,
    virtual_card = PINDESK_KIND_VIRTUAL,
};

enum class event {
    reader_came = PINDESK_READER_CAME,
    reader_went = PINDESK_READER_WENT,
    card_came = PINDESK_CARD_CAME,
    card_went = PINDESK_CARD_WENT,
};

/// An issuer's key.
enum class key {
    secure_messaging = PINDESK_KEY_SECURE_MESSAGING,
    admin = PINDESK_KEY_ADMIN,
};

} // namespace pindesk
// NOLINTEND(readability-identifier-naming)

#endif
