// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

import java.util.Locale;

/** A PIN or a PUK. */
public enum Secret implements Numbered {
    /** Authentication. */
    CNS_PIN(0),
    /** Unblocks the CNS PIN. */
    CNS_PUK(1),
    /** Signature. */
    DS_PIN(2),
    /** Unblocks the DS PIN. */
    DS_PUK(3),
    /** Of another family; in reports only. */
    OTHER_PIN(4),
    /** Of another family; in reports only. */
    OTHER_PUK(5);

    private final int number;

    Secret(int number) { this.number = number; }

    @Override
    public int number() {
        return number;
    }

    /**
     * Names it for a person: "CNS PIN".
     *
     * @param locale its language is used, English if the library does not speak it
     * @return the name
     */
    public String title(Locale locale) {
        return Native.text(Native.TITLE_OF_SECRET, null, number, locale);
    }

    /**
     * The length that a person should keep to.
     *
     * @return in bytes: 6 for the PINs, 8 for the PUKs, 1 for those of other families
     */
    public int minLength() { return Native.limit(number, false); }

    /**
     * The length that a person should keep to.
     *
     * @return in bytes: 8
     */
    public int maxLength() { return Native.limit(number, true); }
}
