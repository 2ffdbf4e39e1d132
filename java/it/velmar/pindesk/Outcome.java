// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

import java.util.Locale;

/** What a call came to. */
public enum Outcome implements Numbered {
    /** It is done. */
    DONE(0),
    /** The call itself is wrong, or several readers or cards fit. */
    USAGE(1),
    /** Refused by the desk's own checks; nothing was sent. */
    REFUSED(2),
    /** The card judged the value, and took a try away. */
    WRONG_SECRET(3),
    /** The secret is blocked: before, or by this try. */
    BLOCKED(4),
    /** No reader, or no such reader. */
    NO_READER(5),
    /** No card, a mute card, or one that was lost; nothing was changed, and no try is gone. */
    NO_CARD(6),
    /** Another program holds the card or the reader. */
    IN_USE(7),
    /** The PC/SC service does not run, answer, or allow this session. */
    NO_SERVICE(8),
    /** The serial number is not the expected one. */
    OTHER_CARD(9),
    /** The card refused secure messaging. */
    SECURE_MESSAGING_REFUSED(10),
    /** The card refused a command, or lacks what is asked for. */
    CARD_REFUSED(11),
    /** An answer was lost, and the card could not be asked or does not tell. */
    OUTCOME_UNKNOWN(12),
    /** Memory was short, or something is wrong in the library. */
    INTERNAL_ERROR(13);

    private final int number;

    Outcome(int number) { this.number = number; }

    @Override
    public int number() {
        return number;
    }

    /**
     * Says what it means.
     *
     * @param locale its language is used, English if the library does not speak it
     * @return a sentence
     */
    public String text(Locale locale) {
        return Native.text(Native.TEXT_OF_OUTCOME, null, number, locale);
    }
}
