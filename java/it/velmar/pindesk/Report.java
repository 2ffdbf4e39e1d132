// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

import java.time.Duration;
import java.util.Collections;
import java.util.Locale;
import java.util.Optional;
import java.util.OptionalInt;
import java.util.Set;

/** What became of a call. It never holds a value of a secret. */
public final class Report {
    private static final int NO_CODE = 1;

    private final byte[] original; // as the native library words it
    private final Operation operation;
    private final Secret secret;
    private final Secret target;
    private final Outcome outcome;
    private final Detail detail;
    private final Next next;
    private final InForce inForce;
    private final State state;
    private final Weakness weakness;
    private final Set<Note> notes;
    private final OptionalInt triesBefore;
    private final OptionalInt triesLeft;
    private final int code;
    private final OptionalInt statusWord;
    private final int secretsSent;
    private final int exchanges;
    private final Duration duration;
    private final int slot;
    private final Optional<String> reader;
    private final Optional<String> serial;
    private final Optional<String> holders;

    Report(byte[] members) { this(new Answer(members)); }

    private Report(Answer answer) {
        original = answer.bytes();
        operation = answer.constant(Operation.class);
        secret = answer.constant(Secret.class);
        target = answer.constant(Secret.class);
        outcome = answer.constant(Outcome.class);
        detail = answer.constant(Detail.class);
        next = answer.constant(Next.class);
        inForce = answer.constant(InForce.class);
        state = answer.constant(State.class);
        weakness = answer.constant(Weakness.class);
        notes = Collections.unmodifiableSet(answer.constants(Note.class));
        triesBefore = answer.numberIfTold();
        triesLeft = answer.numberIfTold();
        code = answer.number();
        statusWord = answer.numberIfTold();
        secretsSent = answer.number();
        exchanges = answer.number();
        duration = Duration.ofMillis(answer.number());
        slot = answer.number();
        reader = answer.textIfAny();
        serial = answer.textIfAny();
        holders = answer.textIfAny();
    }

    /**
     * What the call was.
     *
     * @return the operation
     */
    public Operation operation() { return operation; }

    /**
     * The secret that was presented, or whose tries are told.
     *
     * @return the secret
     */
    public Secret secret() { return secret; }

    /**
     * The secret whose value or state the call changes; {@link #secret} if none.
     *
     * @return the secret
     */
    public Secret target() { return target; }

    /**
     * What the call came to.
     *
     * @return the outcome
     */
    public Outcome outcome() { return outcome; }

    /**
     * Whether the call came to {@link Outcome#DONE}.
     *
     * @return true if so
     */
    public boolean done() { return outcome == Outcome.DONE; }

    /**
     * Why, where the outcome alone does not tell.
     *
     * @return the detail
     */
    public Detail detail() { return detail; }

    /**
     * What makes sense next.
     *
     * @return a suggestion
     */
    public Next next() { return next; }

    /**
     * Which value {@link #target} has now.
     *
     * @return old, new, or unknown
     */
    public InForce inForce() { return inForce; }

    /**
     * The state of {@link #target} now.
     *
     * @return the state
     */
    public State state() { return state; }

    /**
     * Why the new value is a weak one.
     *
     * @return the weakness
     */
    public Weakness weakness() { return weakness; }

    /**
     * What else there is to tell.
     *
     * @return an unmodifiable set, mostly empty
     */
    public Set<Note> notes() { return notes; }

    /**
     * The tries of {@link #secret} before the call.
     *
     * @return empty when the card did not tell
     */
    public OptionalInt triesBefore() { return triesBefore; }

    /**
     * The tries of {@link #secret} now.
     *
     * @return empty when the card did not tell
     */
    public OptionalInt triesLeft() { return triesLeft; }

    /**
     * The result code that the exported native operation would have returned.
     *
     * @return empty when no operation ended with one
     */
    public OptionalInt code() {
        return code == NO_CODE ? OptionalInt.empty() : OptionalInt.of(code);
    }

    /**
     * The card's status word that decided.
     *
     * @return SW1 x 256 + SW2, or empty
     */
    public OptionalInt statusWord() { return statusWord; }

    /**
     * How many commands with a secret left for the card.
     *
     * @return 0: no try can have been spent
     */
    public int secretsSent() { return secretsSent; }

    /**
     * How many commands were exchanged with the card in all.
     *
     * @return their number
     */
    public int exchanges() { return exchanges; }

    /**
     * How long the call took.
     *
     * @return in milliseconds' resolution
     */
    public Duration duration() { return duration; }

    /**
     * The position of the reader in the list of readers.
     *
     * @return from 1; 0 when none was chosen
     */
    public int slot() { return slot; }

    /**
     * The name of the reader, as PC/SC gives it.
     *
     * @return empty when none was chosen
     */
    public Optional<String> reader() { return reader; }

    /**
     * The serial number of the card.
     *
     * @return empty when it was not read, or there is none
     */
    public Optional<String> serial() { return serial; }

    /**
     * Which programs may be the ones that hold the card, while it is in use.
     *
     * @return names separated by ", ", as far as the system tells
     */
    public Optional<String> holders() { return holders; }

    /**
     * Says what happened and what holds now.
     *
     * @param locale its language is used, English if the library does not speak it
     * @return one or two sentences
     */
    public String message(Locale locale) {
        return Native.text(Native.TEXT_OF_REPORT, original, 0, locale);
    }

    /**
     * Says what to do next.
     *
     * @param locale as in {@link #message}
     * @return a sentence, perhaps an empty one
     */
    public String advice(Locale locale) {
        return Native.text(Native.ADVICE_OF_REPORT, original, 0, locale);
    }

    /** What a log may show: names and numbers, in English. */
    @Override
    public String toString() {
        return operation + " " + target + ": " + outcome +
            (detail == Detail.NONE ? "" : " (" + detail + ")");
    }
}
