/* SPDX-License-Identifier: Apache-2.0
 *
 * The desk: what a program does with the secrets of a card, and what became of it. C11.
 *
 * A desk looks for the card, asks it what it can do and how many tries are left, refuses what would
 * harm it, carries the operation out, and finds out what holds afterwards, also when an answer was
 * lost on its way. It is careful by itself: a command that carries a secret is sent once, the last
 * try is kept unless asked for, and neither depends on any setting of the process.
 *
 * Calls. Every call that talks to the PC/SC service blocks until it is done or its time is over. It
 * works on a thread of its own, which ends with it; the callbacks run on the caller's thread. A call
 * whose time is over while the service or a reader is stuck returns, and leaves that thread behind
 * until the service lets it go: it gives back what it held, sends nothing more, and later calls for
 * the same reader wait for it, so that no more than one is ever left at a reader. Once a command
 * with a secret has left, the call ends with its outcome, however long that takes.
 *
 * Threads. A desk serves any number of threads; calls for one reader take turns. A report, an
 * options structure and a card belong to their caller and are touched only during the call.
 *
 * Memory. Values (PINs, PUKs, keys) stay the caller's; the desk's copies are wiped when the call
 * returns. Nothing that a call fills in has to be freed; a desk alone is, by pindesk_close. Strings
 * are UTF-8 and end with a NUL. No text, name or report ever contains a value.
 *
 * Structures begin with their size in bytes, which the caller sets before the call (in a visitor,
 * the library does). A program compiled with an older, shorter structure gets the members it knows;
 * of a longer one, the rest is left alone. Numbers of the enumerations never change their meaning;
 * later versions add some.
 *
 * Exchanges are the commands to the card, 12 to 97 ms each on real cards. Where a call states their
 * number, it is that of a national services card under T=1 on which nothing fails. Secure messaging
 * adds 2 to each command with a secret of the signature application.
 */
#ifndef PINDESK_DESK_H
#define PINDESK_DESK_H

#include "cardlib/export.h"

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** A desk; opaque. */
typedef struct pindesk_desk pindesk_desk;

/** What a call came to. The exit statuses of the command-line tool are these numbers. */
typedef enum pindesk_outcome {
    PINDESK_DONE = 0,
    PINDESK_USAGE = 1,        /**< the call itself is wrong, or several readers or cards fit */
    PINDESK_REFUSED = 2,      /**< by the desk's own checks; nothing was sent */
    PINDESK_WRONG_SECRET = 3, /**< the card judged the value, and took a try away */
    PINDESK_BLOCKED = 4,      /**< the secret is blocked: before, or by this try */
    PINDESK_NO_READER = 5,    /**< no reader, or no such reader */
    PINDESK_NO_CARD = 6, /**< no card, a mute card, or one that was lost; nothing was changed, and
                                   no try is gone */
    PINDESK_IN_USE = 7,  /**< another program holds the card or the reader */
    PINDESK_NO_SERVICE = 8, /**< the PC/SC service does not run, answer, or allow this session */
    PINDESK_OTHER_CARD = 9, /**< the serial number is not the expected one */
    PINDESK_SECURE_MESSAGING_REFUSED = 10,
    PINDESK_CARD_REFUSED = 11,    /**< the card refused a command, or lacks what is asked for */
    PINDESK_OUTCOME_UNKNOWN = 12, /**< an answer was lost, and the card could not be asked, or
                                      does not tell */
    PINDESK_INTERNAL_ERROR = 13
} pindesk_outcome;

/** Why, where the outcome alone does not tell. */
typedef enum pindesk_detail {
    PINDESK_DETAIL_NONE = 0,

    /* with PINDESK_USAGE */
    PINDESK_DETAIL_BAD_ARGUMENT = 10,    /**< a null pointer, a size of 0, a number out of range */
    PINDESK_DETAIL_SEVERAL_READERS = 11, /**< several names contain options.reader */
    PINDESK_DETAIL_SEVERAL_CARDS = 12,   /**< several readers hold a card that fits */

    /* with PINDESK_REFUSED */
    PINDESK_DETAIL_LAST_TRY = 20,            /**< one try left or not told: PINDESK_USE_LAST_TRY */
    PINDESK_DETAIL_DEACTIVATED = 21,         /**< the PIN is deactivated: reactivate it first */
    PINDESK_DETAIL_ACTIVE_ALREADY = 22,      /**< nothing to reactivate */
    PINDESK_DETAIL_DEACTIVATED_ALREADY = 23, /**< nothing to lock */
    PINDESK_DETAIL_LENGTH = 24,              /**< of the presented value */
    PINDESK_DETAIL_NEW_LENGTH = 25,          /**< of the new value */
    PINDESK_DETAIL_CHARACTERS = 26,          /**< of the presented value: not what is permitted */
    PINDESK_DETAIL_NEW_CHARACTERS = 27,      /**< of the new value */
    PINDESK_DETAIL_NEW_IS_OLD = 28,          /**< the new value is the old one */
    PINDESK_DETAIL_PIN_IS_PUK = 29,          /**< the new PIN is the PUK */
    PINDESK_DETAIL_CANCELLED = 30,           /**< by pindesk_cancel */
    PINDESK_DETAIL_BAD_KEY = 31,             /**< a key file that cannot be used */

    /* with PINDESK_BLOCKED */
    PINDESK_DETAIL_BLOCKED_BEFORE = 40, /**< nothing was sent */
    PINDESK_DETAIL_BLOCKED_NOW = 41,    /**< this value was wrong, and the last try */
    PINDESK_DETAIL_BOTH_BLOCKED = 42,   /**< the PIN and the PUK that would unblock it */

    /* with PINDESK_NO_READER */
    PINDESK_DETAIL_NONE_CONNECTED = 50,
    PINDESK_DETAIL_NO_SUCH_READER = 51, /**< no such name or slot */
    PINDESK_DETAIL_READER_GONE = 52,

    /* with PINDESK_NO_CARD */
    PINDESK_DETAIL_EMPTY = 60,   /**< there is no card */
    PINDESK_DETAIL_MUTE = 61,    /**< the card does not answer to reset: the wrong way round? */
    PINDESK_DETAIL_REMOVED = 62, /**< before a secret had left */
    PINDESK_DETAIL_READER_FAILED = 63, /**< an exchange failed before a secret had left */

    /* with PINDESK_IN_USE */
    PINDESK_DETAIL_EXCLUSIVE = 70,   /**< another program holds the reader alone */
    PINDESK_DETAIL_TRANSACTION = 71, /**< another program kept its transaction beyond the time */
    PINDESK_DETAIL_STUCK = 72,       /**< the reader did not answer in time */
    PINDESK_DETAIL_RESET = 73,       /**< another program reset the card twice */

    /* with PINDESK_NO_SERVICE */
    PINDESK_DETAIL_NOT_RUNNING = 80,
    PINDESK_DETAIL_NOT_ALLOWED = 81, /**< the session has no right to use the readers */
    PINDESK_DETAIL_SERVICE_STUCK = 82,

    /* with PINDESK_SECURE_MESSAGING_REFUSED */
    PINDESK_DETAIL_WRONG_SM_KEY = 90, /**< or data that the card does not accept in it */
    PINDESK_DETAIL_SM_REQUIRED = 91,  /**< the card wants it, the call forbade it */

    /* with PINDESK_CARD_REFUSED */
    PINDESK_DETAIL_ABSENT = 100,          /**< no such secret on this card; nothing was sent */
    PINDESK_DETAIL_OTHER_KIND = 101,      /**< a card that cannot do this; nothing was sent */
    PINDESK_DETAIL_NO_SERIAL = 102,       /**< no serial number where the library looks for it */
    PINDESK_DETAIL_COMMAND_REFUSED = 103, /**< no value was judged, no try was spent */
    PINDESK_DETAIL_NEW_VALUE_REFUSED = 104,
    PINDESK_DETAIL_DEACTIVATION_REFUSED = 105,
    PINDESK_DETAIL_REACTIVATION_REFUSED = 106,
    PINDESK_DETAIL_ADMIN_KEY_REFUSED = 107,
    PINDESK_DETAIL_FIRST_PIN_ONLY = 108, /**< of two PINs, the second was not reset */

    /* with PINDESK_OUTCOME_UNKNOWN: why the card could not be asked */
    PINDESK_DETAIL_NOT_BACK = 120,      /**< the card did not come back in time */
    PINDESK_DETAIL_OTHER_CAME = 121,    /**< another card was inserted instead */
    PINDESK_DETAIL_NOT_TOLD = 122,      /**< the card does not tell */
    PINDESK_DETAIL_TOO_FEW_TRIES = 123, /**< finding out could have blocked the secret */

    /* with PINDESK_INTERNAL_ERROR, NO_MEMORY also with PINDESK_OUTCOME_UNKNOWN */
    PINDESK_DETAIL_NO_MEMORY = 130, /**< or no thread */
    PINDESK_DETAIL_UNKNOWN_CODE = 131,

    /* in a waiting callback only */
    PINDESK_DETAIL_WAITING_FOR_CARD = 140,
    PINDESK_DETAIL_WAITING_FOR_READER = 141,
    PINDESK_DETAIL_WAITING_FOR_PROGRAM = 142, /**< that holds the card; or for a stuck reader */
    PINDESK_DETAIL_WAITING_FOR_RETURN = 143,  /**< of the card, to learn what holds now */
    PINDESK_DETAIL_WAITING_FOR_SERVICE = 144
} pindesk_detail;

/** What makes sense next; the advice says it in words, a program may offer it as a command. */
typedef enum pindesk_next {
    PINDESK_NEXT_NOTHING = 0,
    PINDESK_NEXT_CHECK_VALUE = 1,    /**< before another try */
    PINDESK_NEXT_TRY_NEW_FIRST = 2,  /**< whichever value is in force: the new one first */
    PINDESK_NEXT_TRY_AGAIN = 3,      /**< nothing is lost by it */
    PINDESK_NEXT_UNBLOCK_CNS = 4,    /**< with the CNS PUK */
    PINDESK_NEXT_UNBLOCK_DS = 5,     /**< with the DS PUK */
    PINDESK_NEXT_REACTIVATE = 6,     /**< with the DS PUK */
    PINDESK_NEXT_ALLOW_LAST_TRY = 7, /**< PINDESK_USE_LAST_TRY */
    PINDESK_NEXT_REPLACE_CARD = 8,   /**< no command helps any more */
    PINDESK_NEXT_INSERT_CARD = 9,
    PINDESK_NEXT_REINSERT_CARD = 10,
    PINDESK_NEXT_CONNECT_READER = 11,
    PINDESK_NEXT_CHOOSE_READER = 12,
    PINDESK_NEXT_CLOSE_PROGRAM = 13, /**< the one that holds the card */
    PINDESK_NEXT_START_SERVICE = 14,
    PINDESK_NEXT_GET_RIGHTS = 15,
    PINDESK_NEXT_GIVE_SM_KEY = 16,
    PINDESK_NEXT_USE_SM = 17, /**< the call forbade what the card wants */
    PINDESK_NEXT_GIVE_ADMIN_KEY = 18,
    PINDESK_NEXT_CHOOSE_VALUE = 19, /**< another one */
    PINDESK_NEXT_SEE_STATUS = 20,
    PINDESK_NEXT_IDENTIFY = 21
} pindesk_next;

typedef enum pindesk_operation {
    PINDESK_OP_LOOK = 0, /**< readers, find, serial, identify, status, doctor */
    PINDESK_OP_VERIFY = 1,
    PINDESK_OP_CHANGE = 2,
    PINDESK_OP_UNBLOCK = 3,
    PINDESK_OP_LOCK = 4,
    PINDESK_OP_REACTIVATE = 5,
    PINDESK_OP_UNBLOCK_STARCOS = 6, /**< both PINs of a Starcos card */
    PINDESK_OP_UNBLOCK_M4_1111 = 7  /**< the PIN in DF 1111 of a CardOS M4 card */
} pindesk_operation;

typedef enum pindesk_secret {
    PINDESK_CNS_PIN = 0, /**< authentication */
    PINDESK_CNS_PUK = 1,
    PINDESK_DS_PIN = 2, /**< signature */
    PINDESK_DS_PUK = 3,
    PINDESK_OTHER_PIN = 4, /**< of another family; in reports only */
    PINDESK_OTHER_PUK = 5
} pindesk_secret;

typedef enum pindesk_state {
    PINDESK_STATE_NOT_TOLD = 0, /**< the card does not tell, or was not asked */
    PINDESK_STATE_READY = 1,
    PINDESK_STATE_LAST_TRY = 2,
    PINDESK_STATE_BLOCKED = 3,
    PINDESK_STATE_DEACTIVATED = 4,
    PINDESK_STATE_VERIFIED = 5, /**< by a program just now: such a card tells no tries */
    PINDESK_STATE_ABSENT = 6    /**< not on this card */
} pindesk_state;

typedef enum pindesk_in_force {
    PINDESK_IN_FORCE_NOT_CONCERNED = 0, /**< the call changes no value */
    PINDESK_IN_FORCE_OLD = 1,           /**< the value from before the call, whatever it is */
    PINDESK_IN_FORCE_NEW = 2,
    PINDESK_IN_FORCE_UNKNOWN = 3
} pindesk_in_force;

/** Why a new value is a weak one. It is taken all the same. */
typedef enum pindesk_weakness {
    PINDESK_WEAKNESS_NONE = 0,
    PINDESK_WEAKNESS_SAME_DIGIT = 1, /**< 111111 */
    PINDESK_WEAKNESS_RUN = 2,        /**< 123456, 987654 */
    PINDESK_WEAKNESS_FACTORY = 3,    /**< the value that a reactivated card starts with */
    PINDESK_WEAKNESS_REPEATED = 4    /**< 121212, 123123 */
} pindesk_weakness;

/** Kind of card, from the structure of its answer to reset. */
typedef enum pindesk_kind {
    PINDESK_KIND_UNKNOWN = 0,
    PINDESK_KIND_NATIONAL_SERVICES = 1, /**< "CNS" among the historical bytes, whatever the chip */
    PINDESK_KIND_CARDOS_M4 = 2,
    PINDESK_KIND_VIRTUAL = 3 /**< PinDesk's own virtual card */
} pindesk_kind;

/** Options of a call, combined with |. */
enum {
    PINDESK_USE_LAST_TRY = 1 << 0,        /**< send a value although one try is left */
    PINDESK_ANY_CHARACTERS = 1 << 1,      /**< values of printable ASCII instead of digits */
    PINDESK_KEEP_VERIFIED = 1 << 2,       /**< leave the card verified for every program */
    PINDESK_NO_SECURE_MESSAGING = 1 << 3, /**< signature secrets travel in clear */
    PINDESK_USE_ADMIN_KEY =
        1 << 4,                  /**< lock authenticates also without a key given: the library's */
    PINDESK_RESET_FIRST = 1 << 5 /**< pindesk_status: see there */
};

/** What else a report has to tell; combined with |. */
enum {
    PINDESK_NOTE_ANSWER_LOST = 1 << 0,   /**< an answer was lost; the card was asked what holds */
    PINDESK_NOTE_STARTED_AGAIN = 1 << 1, /**< after another program's reset; no secret had left */
    PINDESK_NOTE_LEFT_VERIFIED = 1 << 2, /**< the secret stays verified for other programs */
    PINDESK_NOTE_ADMIN_KEY_BLOCKED = 1 << 3,  /**< for good, by this call */
    PINDESK_NOTE_SERIAL_NOT_CHECKED = 1 << 4, /**< the card has none: it is held to by its ATR */
    PINDESK_NOTE_ANY_CHARACTERS = 1 << 5      /**< the call was made with PINDESK_ANY_CHARACTERS */
};

/** A value in the caller's memory. It is not changed, and not kept beyond the call. */
typedef struct pindesk_bytes {
    const unsigned char* data;
    size_t size; /**< in bytes */
} pindesk_bytes;

#define PINDESK_KEY_SIZE 24          /**< bytes of a Triple-DES key: K1 | K2 | K3 */
#define PINDESK_SERIAL_SIZE 17       /**< 16 characters and a NUL */
#define PINDESK_READER_NAME_SIZE 128 /**< with its NUL, as pcsc-lite has it */
#define PINDESK_ATR_SIZE 33
#define PINDESK_NO_CODE 1 /**< of a report for which the exported operations have no result code */
#define PINDESK_FOREVER (-1)

/** What became of a call: numbers only. pindesk_text and pindesk_advice put it into words. */
typedef struct pindesk_report {
    size_t size;
    pindesk_operation operation;
    pindesk_secret secret; /**< presented, or whose tries are told */
    pindesk_secret target; /**< whose value or state the call changes; `secret` if none */
    pindesk_outcome outcome;
    pindesk_detail detail;
    pindesk_next next;
    pindesk_in_force in_force; /**< which value `target` has now */
    pindesk_state state;       /**< of `target` now */
    pindesk_weakness weakness; /**< of the new value */
    uint32_t notes;            /**< PINDESK_NOTE_... */
    int32_t tries_before;      /**< of `secret`; -1: not told */
    int32_t tries_left;        /**< of `secret` now; -1: not told */
    int32_t code;              /**< as the exported operation would return it; PINDESK_NO_CODE */
    int32_t status_word;       /**< the card's word that decided; -1: none */
    int32_t secrets_sent;      /**< commands that left for the card with a secret, or to take the
                                    signature PIN out of use or bring it back */
    int32_t exchanges;         /**< commands in all */
    int32_t milliseconds;      /**< that the call took */
    int32_t slot;              /**< of the reader, from 1; 0: none was chosen */
    char reader[PINDESK_READER_NAME_SIZE]; /**< as PC/SC gives it, control bytes and all */
    char serial[PINDESK_SERIAL_SIZE];      /**< of the card; empty: not read, or none */
    char holders[96]; /**< with PINDESK_IN_USE and while waiting: programs with a connection to the
                           PC/SC service, separated by ", "; those that may be seen, perhaps none */
} pindesk_report;

/** Which card, and how. All members may be 0; a null pointer to it means the same. */
typedef struct pindesk_options {
    size_t size;
    const char* reader; /**< name: exact, else a part in any case; null: whichever has the card */
    int32_t slot;       /**< position in the list of readers, from 1; 0: any */
    const char* serial; /**< 16 characters: chooses the reader, and no other card is used; null: any
                             card; the one found is held to until the end of the call */
    int32_t wait_ms;    /**< how long to wait for a missing card; 0: not at all, PINDESK_FOREVER */
    int32_t
        timeout_ms; /**< how long to wait for other programs, a stuck reader or service, or for a
                             removed card after a lost answer; 0: 30 s, PINDESK_FOREVER */
    uint32_t flags; /**< PINDESK_USE_LAST_TRY and so on */
    const unsigned char* sm_key;    /**< PINDESK_KEY_SIZE bytes; null: the desk's */
    const unsigned char* admin_key; /**< likewise */

    /** Called after two seconds of waiting and then each second, on the caller's thread, with a
     *  report that says what is waited for (detail, reader, holders, milliseconds). */
    void (*waiting)(const pindesk_report* so_far, void* context);
    void* context; /**< for `waiting` */
} pindesk_options;

/** A reader, and what is seen of the card in it without a connection. */
typedef struct pindesk_reader {
    size_t size;
    int32_t slot;                                       /**< from 1 */
    int32_t has_card, is_mute, is_in_use, is_exclusive; /**< 0 or 1, as PC/SC says */
    pindesk_kind kind;
    size_t atr_size; /**< bytes; 0 without a card */
    unsigned char atr[PINDESK_ATR_SIZE];
    char name[PINDESK_READER_NAME_SIZE];
    char holders[96]; /**< when in use: as in pindesk_report */
} pindesk_reader;

typedef enum pindesk_event {
    PINDESK_READER_CAME = 0,
    PINDESK_READER_WENT = 1,
    PINDESK_CARD_CAME = 2,
    PINDESK_CARD_WENT = 3
} pindesk_event;

/** A card, as far as the call that filled it in has looked. */
typedef struct pindesk_card {
    size_t size;
    pindesk_reader reader;
    char serial[PINDESK_SERIAL_SIZE]; /**< empty: not asked for, or none that can be read */
    int32_t layout; /**< a value of namespace layout in PCSC_Misc.h; -1: not asked for */
    int32_t speaks_t0, speaks_t1; /**< 0 or 1: protocols that the answer to reset offers */
    int32_t clock_factor;    /**< Fi of interface byte TA1, 372 without one; 0: reserved value */
    int32_t rate_factor;     /**< Di, 1 without one; 0: reserved value */
    int32_t bits_per_second; /**< at 4 MHz, as offered; 0 when a factor is reserved */
    uint32_t operations;     /**< 1 << pindesk_operation for each that this card can do */
    char chip[48];           /**< family of the chip, English; empty: not known */
    char historical[33];     /**< historical bytes as text, '.' for what is not printable */
} pindesk_card;

/** One secret on a card. */
typedef struct pindesk_secret_status {
    size_t size;
    pindesk_secret secret;
    pindesk_state state;
    int32_t tries_left;  /**< -1: not told */
    int32_t status_word; /**< that the card answered to the question; -1: none */
} pindesk_secret_status;

/** One finding of pindesk_doctor. The texts live as long as the visit. */
typedef struct pindesk_finding {
    size_t size;
    const char* id;     /**< stable and English: "service-not-running" */
    int32_t severity;   /**< 0: as it should be, 1: worth knowing, 2: a problem */
    const char* reader; /**< the reader that it is about; empty: none */
    const char* what;   /**< in the language asked for, as are the next two */
    const char* cause;  /**< empty where all is well */
    const char* remedy; /**< likewise */
} pindesk_finding;

/* Visitors run on the caller's thread and return 0 to go on, anything else to end the visit. */
typedef int (*pindesk_reader_visitor)(const pindesk_reader* reader, void* context);
typedef int (*pindesk_event_visitor)(pindesk_event event, const pindesk_reader* reader,
                                     void* context);
typedef int (*pindesk_status_visitor)(const pindesk_secret_status* status, void* context);
typedef int (*pindesk_finding_visitor)(const pindesk_finding* finding, void* context);
/** Takes the next piece of a text. */
typedef int (*pindesk_writer)(const char* text, size_t size, void* context);

/* ---- The desk ---- */

/** Opens a desk. Touches no reader. \return null when memory is short. */
PINDESK_API pindesk_desk* pindesk_open(void);

/** Closes a desk and wipes its keys; null is allowed. No call of it may be running. */
PINDESK_API void pindesk_close(pindesk_desk* desk);

/** Ends the waiting of the calls that run on a desk: PINDESK_DETAIL_CANCELLED. A call of which a
 *  secret has left goes on to its outcome. May be called from any thread and from a signal handler,
 *  not during pindesk_close. */
PINDESK_API void pindesk_cancel(pindesk_desk* desk);

typedef enum pindesk_key { PINDESK_KEY_SECURE_MESSAGING = 0, PINDESK_KEY_ADMIN = 1 } pindesk_key;

/** Gives a desk an issuer's key for all later calls; the copy is wiped by pindesk_close or by the
 *  next key. Without one the library's, that of the test cards, is used.
 *  \param bytes  PINDESK_KEY_SIZE bytes, or null to take the key away.
 *  \return PINDESK_DONE, or PINDESK_USAGE (desk is null, no such key). */
PINDESK_API pindesk_outcome pindesk_set_key(pindesk_desk* desk, pindesk_key key,
                                            const unsigned char* bytes);

/** The same from a file: 24 bytes, or 16 that are taken as K1 | K2 | K1, raw or as hexadecimal digits
 *  with blanks anywhere. It must be a regular file that its owner alone can read, and its owner root
 *  or the user.
 *  \return also PINDESK_REFUSED with PINDESK_DETAIL_BAD_KEY and errno's value in `code`: EPERM for a
 *          file that others can read or own, EINVAL for one that holds no key. */
PINDESK_API pindesk_outcome pindesk_load_key(pindesk_desk* desk, pindesk_key key, const char* path,
                                             pindesk_report* report);

/* ---- Looking. Nothing of this costs a try. `report` may be null everywhere; the return value is
 *      its outcome. ---- */

/** Visits the readers in the order of their slots. No exchange.
 *  \return PINDESK_DONE, also without a reader; PINDESK_NO_SERVICE, PINDESK_REFUSED (cancelled). */
PINDESK_API pindesk_outcome pindesk_readers(pindesk_desk* desk, const pindesk_options* options,
                                            pindesk_reader_visitor visitor, void* context,
                                            pindesk_report* report);

/** Visits each change of readers and cards as it happens, until the visitor ends it, pindesk_cancel
 *  does, or options.wait_ms is over (0 and PINDESK_FOREVER: never). What is there at the start is
 *  told as having come. No exchange.
 *  \return PINDESK_DONE, PINDESK_NO_SERVICE, PINDESK_REFUSED (cancelled). */
PINDESK_API pindesk_outcome pindesk_watch(pindesk_desk* desk, const pindesk_options* options,
                                          pindesk_event_visitor visitor, void* context,
                                          pindesk_report* report);

/** Finds the card that the options describe, waiting for it as they say.
 *  No exchange without options.serial, else 4 for each card that could be it.
 *  \param card  filled in but for layout; the serial number if options.serial is given. May be null.
 *  \return PINDESK_DONE, PINDESK_USAGE (several readers or cards), PINDESK_NO_READER,
 *          PINDESK_NO_CARD, PINDESK_IN_USE, PINDESK_NO_SERVICE, PINDESK_OTHER_CARD,
 *          PINDESK_REFUSED (cancelled). */
PINDESK_API pindesk_outcome pindesk_find(pindesk_desk* desk, const pindesk_options* options,
                                         pindesk_card* card, pindesk_report* report);

/** pindesk_find, and the serial number. 4 exchanges.
 *  \return also PINDESK_CARD_REFUSED (PINDESK_DETAIL_NO_SERIAL). */
PINDESK_API pindesk_outcome pindesk_serial(pindesk_desk* desk, const pindesk_options* options,
                                           pindesk_card* card, pindesk_report* report);

/** pindesk_find, serial number and layout, and the operations that this card can do. 10 or 11
 *  exchanges. A card without a serial number is no failure here. */
PINDESK_API pindesk_outcome pindesk_identify(pindesk_desk* desk, const pindesk_options* options,
                                             pindesk_card* card, pindesk_report* report);

/** Visits the four secrets in their order. 9 exchanges: 4 for the serial number, a selection, and one
 *  question a secret.
 *  With PINDESK_RESET_FIRST the card is reset before it is asked, so that a secret which some program
 *  has verified tells its tries again; no other program may have a connection to it. 4 exchanges more.
 *  \return as pindesk_find; also PINDESK_IN_USE where another program has a connection to a card that
 *          is to be reset. */
PINDESK_API pindesk_outcome pindesk_status(pindesk_desk* desk, const pindesk_options* options,
                                           pindesk_status_visitor visitor, void* context,
                                           pindesk_report* report);

/** The lengths that a person should keep to, in bytes: 6 to 8 for the PINs, 8 for the PUKs, 1 to 8
 *  for those of other families. No card is asked.
 *  \return PINDESK_DONE, or PINDESK_USAGE (no such secret). */
PINDESK_API pindesk_outcome pindesk_limits(pindesk_secret secret, int32_t* min, int32_t* max);

/** Checks a value by itself: length, characters, weakness. No card is asked.
 *  \param is_new  0 for a value to be presented, else for one to be set.
 *  \param flags   PINDESK_ANY_CHARACTERS, or 0.
 *  \return PINDESK_DONE (see report->weakness), PINDESK_REFUSED, PINDESK_USAGE. */
PINDESK_API pindesk_outcome pindesk_check_value(pindesk_secret secret, int is_new,
                                                pindesk_bytes value, uint32_t flags,
                                                pindesk_report* report);

/* ---- Operations on secrets ----
 *
 * Each opens the card, holds it in one transaction, reads its serial number, asks for the tries of
 * the secret at stake, refuses what would harm it, sends the command, and looks afterwards. If
 * another program resets the card before a secret has left, the operation starts again, once.
 *
 * A card that an operation verified something on is reset at the end, unless the secret was verified
 * before or PINDESK_KEEP_VERIFIED is given.
 *
 * After a lost answer the card is waited for (options.timeout_ms) and asked, so that `outcome` and
 * `in_force` say what holds:
 *   verify      asks for the tries. Fewer: wrong; verified, or more than before: right. As many as
 *               before may be either; PINDESK_OUTCOME_UNKNOWN then, and no try is spent.
 *   change      presents the new value once, if two tries or more are left, and the old value if
 *               that was wrong, which brings the tries back.
 *   unblock     asks for the tries of the PIN, and does it all once more if they do not tell.
 *   lock, reactivate   ask for the state of the DS PIN, and finish what was begun.
 * Coming back to a card costs 5 exchanges, 1 more for the DF of a DS secret, 1 more where PIN and
 * PUK are asked about; each value that is presented 1 more, a reset 1. On a card that stayed where it
 * was, asking alone costs 1 or 2; so it does after every value that was not accepted.
 */

/** Everything that an operation would refuse before it sends a secret: to be called before a person
 *  is asked for one. The report's serial number, given as options.serial to the operation itself,
 *  makes sure that it meets the same card. 5 exchanges for a CNS secret, 6 for a DS one, 1 more where
 *  PIN and PUK are asked about: to unblock, to reactivate, and when a PIN is blocked.
 *  \param secret  for PINDESK_OP_VERIFY and _CHANGE the secret, for _UNBLOCK the PIN; else ignored.
 *  \return PINDESK_DONE: go on. PINDESK_REFUSED, PINDESK_BLOCKED, PINDESK_CARD_REFUSED (absent, or
 *          another kind of card), PINDESK_OTHER_CARD, or as pindesk_find. */
PINDESK_API pindesk_outcome pindesk_check(pindesk_desk* desk, pindesk_operation operation,
                                          pindesk_secret secret, const pindesk_options* options,
                                          pindesk_report* report);

/** Presents a secret. 6 exchanges for a CNS secret, 7 for a DS one.
 *  \return PINDESK_DONE, PINDESK_WRONG_SECRET, PINDESK_SECURE_MESSAGING_REFUSED,
 *          PINDESK_OUTCOME_UNKNOWN, or as pindesk_check. */
PINDESK_API pindesk_outcome pindesk_verify(pindesk_desk* desk, pindesk_secret secret,
                                           pindesk_bytes value, const pindesk_options* options,
                                           pindesk_report* report);

/** Presents a secret with its old value and sets the new one. 7 exchanges for a CNS secret, 8 for a
 *  DS one.
 *  \return as pindesk_verify; PINDESK_CARD_REFUSED when the card did not take the new value. */
PINDESK_API pindesk_outcome pindesk_change(pindesk_desk* desk, pindesk_secret secret,
                                           pindesk_bytes old_value, pindesk_bytes new_value,
                                           const pindesk_options* options, pindesk_report* report);

/** Presents a PUK, and with it resets the tries of its PIN and sets a new PIN. 8 exchanges for the
 *  CNS PIN, 9 for the DS one.
 *  \param pin  PINDESK_CNS_PIN or PINDESK_DS_PIN.
 *  \return as pindesk_change. */
PINDESK_API pindesk_outcome pindesk_unblock(pindesk_desk* desk, pindesk_secret pin,
                                            pindesk_bytes puk, pindesk_bytes new_pin,
                                            const pindesk_options* options, pindesk_report* report);

/** Deactivates the signature PIN and tightens the access conditions of three DFs for good; with an
 *  administration key (of the call, of the desk, or PINDESK_USE_ADMIN_KEY) it authenticates first
 *  and blocks that key at the end. 20 exchanges, 34 with the key.
 *  \return PINDESK_DONE, PINDESK_REFUSED (deactivated already), PINDESK_CARD_REFUSED,
 *          PINDESK_OUTCOME_UNKNOWN, or as pindesk_find. */
PINDESK_API pindesk_outcome pindesk_lock(pindesk_desk* desk, const pindesk_options* options,
                                         pindesk_report* report);

/** Brings a deactivated signature PIN back with its PUK. 10 exchanges, 11 with a new PIN.
 *  \param new_pin  the value that it gets; of size 0: the one that it had.
 *  \return as pindesk_unblock; PINDESK_REFUSED when the PIN is active. */
PINDESK_API pindesk_outcome pindesk_reactivate(pindesk_desk* desk, pindesk_bytes puk,
                                               pindesk_bytes new_pin,
                                               const pindesk_options* options,
                                               pindesk_report* report);

/** Resets the PINs of a card of another family with their PUK, guarded alike.
 *  \param family  PINDESK_OP_UNBLOCK_STARCOS or PINDESK_OP_UNBLOCK_M4_1111.
 *  \param puk, new_pin  1 to 8 digits.
 *  \return as pindesk_unblock. */
PINDESK_API pindesk_outcome pindesk_unblock_family(pindesk_desk* desk, pindesk_operation family,
                                                   pindesk_bytes puk, pindesk_bytes new_pin,
                                                   const pindesk_options* options,
                                                   pindesk_report* report);

/* ---- Diagnosis ---- */

/** Finds out why it does not work: the service, the right to use it, readers on USB that PC/SC does
 *  not show, their driver, the cards, who holds them, versions. All readers are looked at: of the
 *  options only timeout_ms and waiting count. No exchange.
 *  \param language  as in pindesk_text.
 *  \return PINDESK_DONE without a problem; else the outcome that the first one would lead to, from
 *          the ground up: PINDESK_NO_SERVICE, PINDESK_NO_READER, PINDESK_NO_CARD, PINDESK_IN_USE.
 *          PINDESK_REFUSED (cancelled). */
PINDESK_API pindesk_outcome pindesk_doctor(pindesk_desk* desk, const pindesk_options* options,
                                           const char* language, pindesk_finding_visitor visitor,
                                           void* context, pindesk_report* report);

/** Writes what a help desk needs as one JSON document, English: the findings, versions, readers with
 *  their answers to reset, and the dialogue of pindesk_identify and pindesk_status with timings, for
 *  the card that the options describe. Serial numbers and whatever the card's files hold are masked;
 *  no secret takes part in it. 19 to 24 exchanges.
 *  \return PINDESK_DONE when it is written, whatever it says; PINDESK_USAGE (no writer, bad options),
 *          PINDESK_REFUSED (cancelled, or the writer ended it). */
PINDESK_API pindesk_outcome pindesk_bundle(pindesk_desk* desk, const pindesk_options* options,
                                           pindesk_writer writer, void* context,
                                           pindesk_report* report);

/* ---- Words ----
 *
 * Texts go into a buffer of the caller: as much as fits, always with a NUL when size is not 0.
 * \param language  a BCP 47 tag such as "it" or "it-IT"; null or a language that is not there gives
 *                  English. Control bytes of reader names are shown as escapes.
 * \return the length of the whole text in bytes without its NUL, whatever fitted.
 */

/** What happened and what holds now, in one or two sentences. */
PINDESK_API size_t pindesk_text(const pindesk_report* report, const char* language, char* buffer,
                                size_t size);
/** What to do next; may be empty. */
PINDESK_API size_t pindesk_advice(const pindesk_report* report, const char* language, char* buffer,
                                  size_t size);
/** The name of a secret: "CNS PIN". */
PINDESK_API size_t pindesk_secret_title(pindesk_secret secret, const char* language, char* buffer,
                                        size_t size);
/** The state of a secret: "3 tries are left". */
PINDESK_API size_t pindesk_state_text(const pindesk_secret_status* status, const char* language,
                                      char* buffer, size_t size);
/** Why a value is weak; empty for PINDESK_WEAKNESS_NONE. */
PINDESK_API size_t pindesk_weakness_text(pindesk_weakness weakness, const char* language,
                                         char* buffer, size_t size);
/** A layout of PCSC_Misc.h in words. */
PINDESK_API size_t pindesk_layout_text(int32_t layout, const char* language, char* buffer,
                                       size_t size);
/** A kind of card in words. */
PINDESK_API size_t pindesk_kind_text(pindesk_kind kind, const char* language, char* buffer,
                                     size_t size);
/** What a result code of the exported operations means; 0 and no text for an unknown code. */
PINDESK_API size_t pindesk_code_text(int32_t code, const char* language, char* buffer, size_t size);
PINDESK_API size_t pindesk_code_advice(int32_t code, const char* language, char* buffer,
                                       size_t size);
/** What the advice names; PINDESK_NEXT_NOTHING for an unknown code. */
PINDESK_API pindesk_next pindesk_code_next(int32_t code);
/** The outcome that a result code of the exported operations stands for. */
PINDESK_API pindesk_outcome pindesk_code_outcome(int32_t code);
/** What an outcome means, and so an exit status of the tool. */
PINDESK_API size_t pindesk_outcome_text(pindesk_outcome outcome, const char* language, char* buffer,
                                        size_t size);
/** What a status word of a card means; 0 and no text for an unknown one. */
PINDESK_API size_t pindesk_status_word_text(uint16_t status_word, const char* language,
                                            char* buffer, size_t size);

/* Names for programs, English and stable, never null: "wrong_secret", "last_try", "cns-pin", ... */
PINDESK_API const char* pindesk_outcome_name(pindesk_outcome outcome);
PINDESK_API const char* pindesk_detail_name(pindesk_detail detail);
PINDESK_API const char* pindesk_next_name(pindesk_next next);
PINDESK_API const char* pindesk_secret_name(pindesk_secret secret);
PINDESK_API const char* pindesk_state_name(pindesk_state state);
PINDESK_API const char* pindesk_in_force_name(pindesk_in_force in_force);
PINDESK_API const char* pindesk_weakness_name(pindesk_weakness weakness);
PINDESK_API const char* pindesk_kind_name(pindesk_kind kind);
PINDESK_API const char* pindesk_event_name(pindesk_event event);

/** The version of the library: "1.0.0". */
PINDESK_API const char* pindesk_version(void);

#ifdef __cplusplus
}
#endif

#endif
