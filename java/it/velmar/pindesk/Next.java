// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

/** What makes sense next; {@link Report#advice} says it in words. */
public enum Next implements Numbered {
    /** Nothing. */
    NOTHING(0),
    /** Before another try. */
    CHECK_VALUE(1),
    /** Whichever value is in force: the new one first. */
    TRY_NEW_FIRST(2),
    /** Nothing is lost by it. */
    TRY_AGAIN(3),
    /** With the CNS PUK. */
    UNBLOCK_CNS(4),
    /** With the DS PUK. */
    UNBLOCK_DS(5),
    /** With the DS PUK. */
    REACTIVATE(6),
    /** {@link Options#useLastTry}. */
    ALLOW_LAST_TRY(7),
    /** No command helps any more. */
    REPLACE_CARD(8),
    /** Insert the card. */
    INSERT_CARD(9),
    /** Take the card out and insert it again. */
    REINSERT_CARD(10),
    /** Connect a reader. */
    CONNECT_READER(11),
    /** Say which reader. */
    CHOOSE_READER(12),
    /** The one that holds the card. */
    CLOSE_PROGRAM(13),
    /** Start the PC/SC service. */
    START_SERVICE(14),
    /** Get the right to use the readers. */
    GET_RIGHTS(15),
    /** Give the issuer's key for secure messaging. */
    GIVE_SM_KEY(16),
    /** The call forbade what the card wants. */
    USE_SM(17),
    /** Give the administration key. */
    GIVE_ADMIN_KEY(18),
    /** Another one. */
    CHOOSE_VALUE(19),
    /** Ask for the state of the secrets. */
    SEE_STATUS(20),
    /** Find out what card it is. */
    IDENTIFY(21);

    private final int number;

    Next(int number) { this.number = number; }

    @Override
    public int number() {
        return number;
    }
}
