// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

import java.util.Locale;

/** The kind of a card, from the structure of its answer to reset. */
public enum Kind implements Numbered {
    /** None of those below. */
    UNKNOWN(0),
    /** "CNS" among the historical bytes, whatever the chip. */
    NATIONAL_SERVICES(1),
    /** CardOS M4. */
    CARDOS_M4(2),
    /** PinDesk's own virtual card. */
    VIRTUAL(3);

    private final int number;

    Kind(int number) { this.number = number; }

    @Override
    public int number() {
        return number;
    }

    /**
     * Puts it into words.
     *
     * @param locale its language is used, English if the library does not speak it
     * @return a few words
     */
    public String text(Locale locale) {
        return Native.text(Native.TEXT_OF_KIND, null, number, locale);
    }
}
