// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

import java.util.Locale;
import java.util.OptionalInt;

/** How one secret of a card stands. */
public final class SecretStatus {
    private final byte[] original; // as the native library words it
    private final Secret secret;
    private final State state;
    private final OptionalInt triesLeft;
    private final OptionalInt statusWord;

    SecretStatus(byte[] members) {
        Answer answer = new Answer(members);
        original = answer.bytes();
        secret = answer.constant(Secret.class);
        state = answer.constant(State.class);
        triesLeft = answer.numberIfTold();
        statusWord = answer.numberIfTold();
    }

    /**
     * Which secret.
     *
     * @return the secret
     */
    public Secret secret() { return secret; }

    /**
     * Its state.
     *
     * @return the state
     */
    public State state() { return state; }

    /**
     * How many wrong values it still bears.
     *
     * @return empty when the card did not tell
     */
    public OptionalInt triesLeft() { return triesLeft; }

    /**
     * What the card answered to the question.
     *
     * @return a status word, SW1 x 256 + SW2; empty when it was not asked
     */
    public OptionalInt statusWord() { return statusWord; }

    /**
     * The state in words.
     *
     * @param locale its language is used, English if the library does not speak it
     * @return for example "3 tries are left"
     */
    public String text(Locale locale) {
        return Native.text(Native.TEXT_OF_STATE, original, 0, locale);
    }

    /** Names and numbers, in English. */
    @Override
    public String toString() {
        return secret + " " + state + (triesLeft.isPresent() ? " " + triesLeft.getAsInt() : "");
    }
}
