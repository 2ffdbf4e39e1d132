// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

/** Why, where the outcome alone does not tell. */
public enum Detail implements Numbered {
    /** The outcome says it all. */
    NONE(0),
    /** A null pointer, a size of 0, a number out of range. */
    BAD_ARGUMENT(10),
    /** Several names contain {@link Options#reader}. */
    SEVERAL_READERS(11),
    /** Several readers hold a card that fits. */
    SEVERAL_CARDS(12),
    /** One try is left: see {@link Options#useLastTry}. */
    LAST_TRY(20),
    /** The PIN is deactivated: reactivate it first. */
    DEACTIVATED(21),
    /** Nothing to reactivate. */
    ACTIVE_ALREADY(22),
    /** Nothing to lock. */
    DEACTIVATED_ALREADY(23),
    /** Of the presented value. */
    LENGTH(24),
    /** Of the new value. */
    NEW_LENGTH(25),
    /** Of the presented value: not what is permitted. */
    CHARACTERS(26),
    /** Of the new value. */
    NEW_CHARACTERS(27),
    /** The new value is the old one. */
    NEW_IS_OLD(28),
    /** The new PIN is the PUK. */
    PIN_IS_PUK(29),
    /** By interruption. */
    CANCELLED(30),
    /** A key file that cannot be used. */
    BAD_KEY(31),
    /** Nothing was sent. */
    BLOCKED_BEFORE(40),
    /** This value was wrong, and the last try. */
    BLOCKED_NOW(41),
    /** The PIN and the PUK that would unblock it. */
    BOTH_BLOCKED(42),
    /** No reader is connected. */
    NONE_CONNECTED(50),
    /** No such name or slot. */
    NO_SUCH_READER(51),
    /** The reader was unplugged. */
    READER_GONE(52),
    /** There is no card. */
    EMPTY(60),
    /** The card does not answer to reset: the wrong way round? */
    MUTE(61),
    /** Before a secret had left. */
    REMOVED(62),
    /** An exchange failed before a secret had left. */
    READER_FAILED(63),
    /** Another program holds the reader alone. */
    EXCLUSIVE(70),
    /** Another program kept its transaction beyond the time. */
    TRANSACTION(71),
    /** The reader did not answer in time. */
    STUCK(72),
    /** Another program reset the card twice. */
    RESET(73),
    /** The service does not run. */
    NOT_RUNNING(80),
    /** The session has no right to use the readers. */
    NOT_ALLOWED(81),
    /** The service does not answer in time. */
    SERVICE_STUCK(82),
    /** Or data that the card does not accept in it. */
    WRONG_SM_KEY(90),
    /** The card wants it, the call forbade it. */
    SM_REQUIRED(91),
    /** No such secret on this card; nothing was sent. */
    ABSENT(100),
    /** A card that cannot do this; nothing was sent. */
    OTHER_KIND(101),
    /** No serial number where the library looks for it. */
    NO_SERIAL(102),
    /** No value was judged, no try was spent. */
    COMMAND_REFUSED(103),
    /** The card did not take the new value. */
    NEW_VALUE_REFUSED(104),
    /** The card refused to deactivate. */
    DEACTIVATION_REFUSED(105),
    /** The card refused to reactivate. */
    REACTIVATION_REFUSED(106),
    /** The card refused the administration key. */
    ADMIN_KEY_REFUSED(107),
    /** Of two PINs, the second was not reset. */
    FIRST_PIN_ONLY(108),
    /** The card did not come back in time. */
    NOT_BACK(120),
    /** Another card was inserted instead. */
    OTHER_CAME(121),
    /** The card does not tell. */
    NOT_TOLD(122),
    /** Finding out could have blocked the secret. */
    TOO_FEW_TRIES(123),
    /** Or no thread. */
    NO_MEMORY(130),
    /** A result that the library does not know. */
    UNKNOWN_CODE(131),
    /** For a card to be inserted. */
    WAITING_FOR_CARD(140),
    /** For a reader to be connected. */
    WAITING_FOR_READER(141),
    /** That holds the card; or for a stuck reader. */
    WAITING_FOR_PROGRAM(142),
    /** Of the card, to learn what holds now. */
    WAITING_FOR_RETURN(143),
    /** For the PC/SC service. */
    WAITING_FOR_SERVICE(144);

    private final int number;

    Detail(int number) { this.number = number; }

    @Override
    public int number() {
        return number;
    }
}
