// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

import java.util.Locale;

/** Why a new value is a weak one. It is taken all the same. */
public enum Weakness implements Numbered {
    /** None is known. */
    NONE(0),
    /** 111111. */
    SAME_DIGIT(1),
    /** 123456, 987654. */
    RUN(2),
    /** The value that a reactivated card starts with. */
    FACTORY(3),
    /** 121212, 123123. */
    REPEATED(4);

    private final int number;

    Weakness(int number) { this.number = number; }

    @Override
    public int number() {
        return number;
    }

    /**
     * Says why a value is weak.
     *
     * @param locale its language is used, English if the library does not speak it
     * @return a few words; empty for {@link #NONE}
     */
    public String text(Locale locale) {
        return Native.text(Native.TEXT_OF_WEAKNESS, null, number, locale);
    }
}
