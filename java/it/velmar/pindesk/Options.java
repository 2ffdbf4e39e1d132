// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

import java.time.Duration;
import java.util.Objects;
import java.util.function.Consumer;

/**
 * Which card a call is for, and how it is done. Unchangeable: each method gives new options that
 * differ in one thing. {@link #DEFAULT} means the only reader with a card, no waiting for a card,
 * and 30 seconds for other programs.
 */
public final class Options implements Target {
    /** Waits without an end. */
    public static final Duration FOREVER = Duration.ofMillis(Long.MAX_VALUE);

    /** Nothing is asked for. */
    public static final Options DEFAULT = new Options();

    /** Bytes of a Triple-DES key: K1 | K2 | K3. */
    public static final int KEY_SIZE = 24;

    static final int USE_LAST_TRY = 1;
    static final int ANY_CHARACTERS = 1 << 1;
    static final int KEEP_VERIFIED = 1 << 2;
    static final int NO_SECURE_MESSAGING = 1 << 3;
    static final int USE_ADMIN_KEY = 1 << 4;
    static final int RESET_FIRST = 1 << 5;

    private String reader;
    private int slot;
    private String serial;
    private Duration wait = Duration.ZERO;
    private Duration timeout = Duration.ZERO;
    private int flags;
    private byte[] smKey;
    private byte[] adminKey;
    private Consumer<Report> waiting;

    private Options() {}

    private Options(Options other) {
        reader = other.reader;
        slot = other.slot;
        serial = other.serial;
        wait = other.wait;
        timeout = other.timeout;
        flags = other.flags;
        smKey = other.smKey;
        adminKey = other.adminKey;
        waiting = other.waiting;
    }

    private Options with(Consumer<Options> change) {
        Options changed = new Options(this);
        change.accept(changed);
        return changed;
    }

    /**
     * Chooses a reader by its name.
     *
     * @param name exact, else a part of the only name that contains it, in any case
     * @return options with that reader
     */
    public Options reader(String name) {
        Objects.requireNonNull(name, "name");
        return with(o -> o.reader = name);
    }

    /**
     * Chooses a reader by its position.
     *
     * @param position in the list of readers, from 1
     * @return options with that reader
     */
    public Options slot(int position) {
        if (position < 1) {
            throw new IllegalArgumentException("a slot counts from 1: " + position);
        }
        return with(o -> o.slot = position);
    }

    /**
     * Chooses the card: its reader is found, and no other card gets anything.
     *
     * @param number its serial number
     * @return options with that card
     */
    public Options serial(String number) {
        if (Objects.requireNonNull(number, "number").isEmpty()) {
            throw new IllegalArgumentException("a serial number is not empty");
        }
        return with(o -> o.serial = number);
    }

    /**
     * Waits for a missing card.
     *
     * @param time how long; {@link #FOREVER} for no end
     * @return options with that time
     */
    public Options waitForCard(Duration time) { return with(o -> o.wait = notNegative(time)); }

    /**
     * Bounds the waiting for other programs, for a stuck reader or service, and for a removed card
     * after a lost answer. A command on its way is waited for however long it takes.
     *
     * @param time how long; zero means 30 seconds, {@link #FOREVER} no end
     * @return options with that time
     */
    public Options timeout(Duration time) { return with(o -> o.timeout = notNegative(time)); }

    /**
     * Sends a value also when one try is left: a wrong one blocks the secret.
     *
     * @return options that allow it
     */
    public Options useLastTry() { return withFlag(USE_LAST_TRY); }

    /**
     * Allows values of printable ASCII characters instead of digits.
     *
     * @return options that allow it
     */
    public Options anyCharacters() { return withFlag(ANY_CHARACTERS); }

    /**
     * Leaves the card verified for every program at the end.
     *
     * @return options that do so
     */
    public Options keepVerified() { return withFlag(KEEP_VERIFIED); }

    /**
     * Lets the secrets of the signature application travel in clear.
     *
     * @return options that do so
     */
    public Options withoutSecureMessaging() { return withFlag(NO_SECURE_MESSAGING); }

    /**
     * Lets {@link Desk#lock} authenticate also without a key given: with the library's own.
     *
     * @return options that do so
     */
    public Options useAdminKey() { return withFlag(USE_ADMIN_KEY); }

    /**
     * Lets {@link Desk#status} reset the card first, unless another program uses it: secrets that
     * were verified tell their tries again.
     *
     * @return options that do so
     */
    public Options resetFirst() { return withFlag(RESET_FIRST); }

    /**
     * Gives the key for secure messaging, for the calls with these options.
     *
     * @param key 24 bytes; the array is neither copied nor wiped, and has to stay as it is as long
     *     as the options are used
     * @return options with that key
     */
    public Options smKey(byte[] key) {
        checkKey(key);
        return with(o -> o.smKey = key);
    }

    /**
     * Gives the administration key, for the calls with these options.
     *
     * @param key as in {@link #smKey}
     * @return options with that key
     */
    public Options adminKey(byte[] key) {
        checkKey(key);
        return with(o -> o.adminKey = key);
    }

    /**
     * Listens while the call waits.
     *
     * @param listener called after two seconds and then each second, on a thread of the desk, with
     *     a report whose detail says what is waited for; it must not throw
     * @return options with that listener
     */
    public Options onWaiting(Consumer<Report> listener) {
        Objects.requireNonNull(listener, "listener");
        return with(o -> o.waiting = listener);
    }

    static void checkKey(byte[] key) {
        if (Objects.requireNonNull(key, "key").length != KEY_SIZE) {
            throw new IllegalArgumentException("a key has " + KEY_SIZE + " bytes, not " +
                                               key.length);
        }
    }

    private Options withFlag(int flag) { return with(o -> o.flags |= flag); }

    private static Duration notNegative(Duration time) {
        if (Objects.requireNonNull(time, "time").isNegative()) {
            throw new IllegalArgumentException("a time is not negative: " + time);
        }
        return time;
    }

    private static int milliseconds(Duration time) {
        final int forever = -1;
        if (time.isZero()) {
            return 0;
        }
        return time.getSeconds() >= Integer.MAX_VALUE / 1000 ? forever
                                                             : (int)Math.max(1, time.toMillis());
    }

    String reader() { return reader; }

    int slot() { return slot; }

    String serial() { return serial; }

    int waitMilliseconds() { return milliseconds(wait); }

    int timeoutMilliseconds() { return milliseconds(timeout); }

    int flags() { return flags; }

    byte[] smKey() { return smKey; }

    byte[] adminKey() { return adminKey; }

    Consumer<Report> waiting() { return waiting; }

    /** These options. */
    @Override
    public Options options() {
        return this;
    }

    /** Which card; no key. */
    @Override
    public String toString() {
        return "reader " + reader + ", slot " + slot + ", serial " + serial;
    }
}
