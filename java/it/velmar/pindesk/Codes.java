// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

import java.util.Locale;

/**
 * What numbers mean: the result codes of {@link it.velmar.PinDesk} and of the exported native
 * operations, and the status words of cards.
 */
public final class Codes {
    private Codes() {}

    /**
     * The outcome that a result code stands for.
     *
     * @param code a result code
     * @return the outcome
     */
    public static Outcome outcome(int code) {
        return Numbered.of(Outcome.class, Native.outcomeOfCode(code));
    }

    /**
     * What makes sense after a result code.
     *
     * @param code a result code
     * @return a suggestion
     */
    public static Next next(int code) { return Numbered.of(Next.class, Native.nextOfCode(code)); }

    /**
     * Says what a result code means.
     *
     * @param code a result code
     * @param locale its language is used, English if the library does not speak it
     * @return a sentence; empty for an unknown code
     */
    public static String text(int code, Locale locale) {
        return Native.text(Native.TEXT_OF_CODE, null, code, locale);
    }

    /**
     * Says what to do after a result code.
     *
     * @param code a result code
     * @param locale as in {@link #text}
     * @return a sentence; empty for an unknown code
     */
    public static String advice(int code, Locale locale) {
        return Native.text(Native.ADVICE_OF_CODE, null, code, locale);
    }

    /**
     * Says what a status word means.
     *
     * @param statusWord SW1 x 256 + SW2
     * @param locale as in {@link #text}
     * @return a few words; empty for an unknown one
     */
    public static String statusWordText(int statusWord, Locale locale) {
        return Native.text(Native.TEXT_OF_STATUS_WORD, null, statusWord, locale);
    }
}
