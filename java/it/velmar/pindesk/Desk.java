// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

import java.io.ByteArrayOutputStream;
import java.nio.charset.StandardCharsets;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.Locale;
import java.util.Objects;
import java.util.function.BiPredicate;
import java.util.function.Consumer;
import java.util.function.Function;

/**
 * What a program does with the secrets of a card, and what became of it.
 *
 * <p>A desk looks for the card, asks it how many tries are left, refuses what would harm it,
 * carries the operation out, and finds out what holds afterwards, also when an answer was lost on
 * its way. The last try is kept unless {@link Options#useLastTry} is given.
 *
 * <pre>{@code
 * try (Desk desk = Desk.open()) {
 *     Report report = desk.change(reader, Secret.DS_PIN, oldPin, newPin);
 *     System.out.println(report.message(Locale.getDefault()));
 * }
 * }</pre>
 *
 * <p>Values of secrets are {@code char[]} or {@code byte[]} of the caller, who wipes them: the desk
 * reads them during the call, and wipes what it copies on every path. {@code null}, a value of a
 * length that the secret cannot have, and a key that is not of 24 bytes are exceptions before
 * anything is sent; everything else is a {@link Report}.
 *
 * <p>A desk serves any number of threads, platform or virtual; calls for one reader take turns. A
 * call blocks its thread alone. When the thread is interrupted, the call stops waiting and reports
 * {@link Detail#CANCELLED}, with the thread's interrupt status set; once a secret has left for the
 * card it goes on to its outcome all the same.
 */
public final class Desk implements AutoCloseable {
    private final Calls calls = new Calls();

    private Desk() {}

    /**
     * Opens a desk. No reader is touched.
     *
     * @return a desk, to be closed
     * @throws UnsatisfiedLinkError when the native library cannot be loaded; the message says why
     */
    public static Desk open() { return new Desk(); }

    /**
     * The version of the native library.
     *
     * @return such as "1.0.0"; the jar's is the same
     */
    public static String version() { return Native.text(Native.VERSION, null, 0, Locale.ROOT); }

    /**
     * Ends the waiting of the calls that run, from any thread: {@link Detail#CANCELLED}. A call of
     * which a secret has left goes on to its outcome.
     */
    public void cancel() { calls.cancel(); }

    /**
     * Ends the waiting of calls that run, waits for their end, and wipes the keys. Nothing happens
     * the second time. A watcher or listener that the desk calls cannot close it.
     */
    @Override
    public void close() {
        calls.close();
    }

    /**
     * Gives the desk an issuer's key for secure messaging, for all later calls.
     *
     * @param key 24 bytes, or null to take the key away; not kept
     */
    public void setSmKey(byte[] key) { setKey(Native.KEY_SECURE_MESSAGING, key); }

    /**
     * Gives the desk an administration key, for all later calls.
     *
     * @param key 24 bytes, or null to take the key away; not kept
     */
    public void setAdminKey(byte[] key) { setKey(Native.KEY_ADMIN, key); }

    /**
     * Takes the key for secure messaging from a file: 24 bytes, or 16 that are taken as K1 | K2 |
     * K1, raw or as hexadecimal digits. The file must be one that its owner alone can read, and its
     * owner root or the user.
     *
     * @param file the key file
     * @throws DeskException when the file cannot be used
     */
    public void loadSmKey(Path file) throws DeskException {
        done(calls.loadKey(Native.KEY_SECURE_MESSAGING, file));
    }

    /**
     * Takes the administration key from a file, likewise.
     *
     * @param file the key file
     * @throws DeskException when the file cannot be used
     */
    public void loadAdminKey(Path file) throws DeskException {
        done(calls.loadKey(Native.KEY_ADMIN, file));
    }

    /**
     * Lists the readers.
     *
     * @return in the order of their slots; empty without a reader
     * @throws DeskException when the PC/SC service does not answer
     */
    public List<Reader> readers() throws DeskException { return readers(Options.DEFAULT); }

    /**
     * Lists the readers.
     *
     * @param options of which {@link Options#timeout} and {@link Options#onWaiting} count
     * @return in the order of their slots; empty without a reader
     * @throws DeskException when the PC/SC service does not answer in time
     */
    public List<Reader> readers(Options options) throws DeskException {
        return collect(Native.CALL_READERS, options, members -> new Reader(new Answer(members)));
    }

    /**
     * Tells of each change of readers and cards as it happens; first of what is there already.
     *
     * @param watcher called on a thread of the desk; returns whether to go on
     * @throws DeskException when the PC/SC service does not answer, or the thread was interrupted
     */
    public void watch(BiPredicate<Event, Reader> watcher) throws DeskException {
        watch(Options.DEFAULT, watcher);
    }

    /**
     * Tells of changes, for some time.
     *
     * @param options of which {@link Options#waitForCard} says how long; zero means no end
     * @param watcher called on a thread of the desk; returns whether to go on
     * @throws DeskException when the PC/SC service does not answer, or the thread was interrupted
     */
    public void watch(Options options, BiPredicate<Event, Reader> watcher) throws DeskException {
        Objects.requireNonNull(watcher, "watcher");
        done(calls.run(new Call(Native.CALL_WATCH, options(options)).finding(members -> {
            Answer answer = new Answer(members);
            return watcher.test(answer.constant(Event.class), new Reader(answer));
        })));
    }

    /**
     * Finds a card, waiting for it as the options say.
     *
     * @param target which card
     * @return the card, as its answer to reset describes it
     * @throws DeskException when there is none, or several fit
     */
    public Card find(Target target) throws DeskException { return card(Native.CALL_FIND, target); }

    /**
     * Reads the serial number of a card.
     *
     * @param target which card
     * @return 16 characters
     * @throws DeskException when there is no card, or it has none
     */
    public String serial(Target target) throws DeskException {
        return card(Native.CALL_SERIAL, target).serial().orElse("");
    }

    /**
     * Finds out what a card is and what can be done with it.
     *
     * @param target which card
     * @return the card with serial number and layout
     * @throws DeskException when there is no card, or it does not answer
     */
    public Card identify(Target target) throws DeskException {
        return card(Native.CALL_IDENTIFY, target);
    }

    /**
     * Asks for the tries of the four secrets. It costs none.
     *
     * @param target which card
     * @return four, in the order of {@link Secret}
     * @throws DeskException when there is no card, or it does not answer
     */
    public List<SecretStatus> status(Target target) throws DeskException {
        return collect(Native.CALL_STATUS, target, SecretStatus::new);
    }

    /**
     * Checks a value by itself: length, characters, weakness. No card is asked.
     *
     * @param options of which {@link Options#anyCharacters} counts
     * @param secret which secret
     * @param isNew whether the value is to be set, not to be presented
     * @param value the value
     * @return {@link Outcome#DONE}, with the weakness of a new value; or why it cannot be one
     */
    public static Report checkValue(Options options, Secret secret, boolean isNew, char[] value) {
        return checked(secret, isNew, value, options(options).flags());
    }

    /**
     * Checks a value by itself: length, characters, weakness. No card is asked.
     *
     * @param options of which {@link Options#anyCharacters} counts
     * @param secret which secret
     * @param isNew whether the value is to be set, not to be presented
     * @param value the value
     * @return {@link Outcome#DONE}, with the weakness of a new value; or why it cannot be one
     */
    public static Report checkValue(Options options, Secret secret, boolean isNew, byte[] value) {
        return checked(secret, isNew, value, options(options).flags());
    }

    /**
     * Tells what an operation would refuse, before a person is asked for a value.
     *
     * @param target which card
     * @param operation what is intended
     * @param secret of {@link Operation#VERIFY} and {@link Operation#CHANGE} the secret, of {@link
     *     Operation#UNBLOCK} the PIN, of others any
     * @return {@link Outcome#DONE}: go on
     */
    public Report check(Target target, Operation operation, Secret secret) {
        return calls.run(new Call(Native.CALL_CHECK, options(target)).about(operation, secret));
    }

    /**
     * Presents a secret.
     *
     * @param target which card
     * @param secret which secret
     * @param value its value
     * @return what became of it
     */
    public Report verify(Target target, Secret secret, char[] value) {
        return present(Operation.VERIFY, target, secret, secret, value, null);
    }

    /**
     * Presents a secret.
     *
     * @param target which card
     * @param secret which secret
     * @param value its value
     * @return what became of it
     */
    public Report verify(Target target, Secret secret, byte[] value) {
        return present(Operation.VERIFY, target, secret, secret, value, null);
    }

    /**
     * Presents a secret and sets its new value.
     *
     * @param target which card
     * @param secret which secret
     * @param oldValue the value in force
     * @param newValue the value to come
     * @return what became of it, and which value is in force
     */
    public Report change(Target target, Secret secret, char[] oldValue, char[] newValue) {
        Objects.requireNonNull(newValue, "newValue");
        return present(Operation.CHANGE, target, secret, secret, oldValue, newValue);
    }

    /**
     * Presents a secret and sets its new value.
     *
     * @param target which card
     * @param secret which secret
     * @param oldValue the value in force
     * @param newValue the value to come
     * @return what became of it, and which value is in force
     */
    public Report change(Target target, Secret secret, byte[] oldValue, byte[] newValue) {
        Objects.requireNonNull(newValue, "newValue");
        return present(Operation.CHANGE, target, secret, secret, oldValue, newValue);
    }

    /**
     * Resets the tries of a PIN with its PUK and sets a new PIN.
     *
     * @param target which card
     * @param pin which PIN
     * @param puk the value of its PUK
     * @param newPin the PIN to come
     * @return what became of it
     */
    public Report unblock(Target target, Secret pin, char[] puk, char[] newPin) {
        Objects.requireNonNull(newPin, "newPin");
        return present(Operation.UNBLOCK, target, pukOf(pin), pin, puk, newPin);
    }

    /**
     * Resets the tries of a PIN with its PUK and sets a new PIN.
     *
     * @param target which card
     * @param pin which PIN
     * @param puk the value of its PUK
     * @param newPin the PIN to come
     * @return what became of it
     */
    public Report unblock(Target target, Secret pin, byte[] puk, byte[] newPin) {
        Objects.requireNonNull(newPin, "newPin");
        return present(Operation.UNBLOCK, target, pukOf(pin), pin, puk, newPin);
    }

    /**
     * Resets the PINs of a card of another family with their PUK.
     *
     * @param target which card
     * @param family {@link Operation#UNBLOCK_STARCOS} or {@link Operation#UNBLOCK_M4_1111}
     * @param puk the value of the PUK
     * @param newPin the PIN to come
     * @return what became of it
     */
    public Report unblockFamily(Target target, Operation family, char[] puk, char[] newPin) {
        Objects.requireNonNull(newPin, "newPin");
        return present(checkFamily(family), target, Secret.OTHER_PUK, Secret.OTHER_PIN, puk,
                       newPin);
    }

    /**
     * Resets the PINs of a card of another family with their PUK.
     *
     * @param target which card
     * @param family {@link Operation#UNBLOCK_STARCOS} or {@link Operation#UNBLOCK_M4_1111}
     * @param puk the value of the PUK
     * @param newPin the PIN to come
     * @return what became of it
     */
    public Report unblockFamily(Target target, Operation family, byte[] puk, byte[] newPin) {
        Objects.requireNonNull(newPin, "newPin");
        return present(checkFamily(family), target, Secret.OTHER_PUK, Secret.OTHER_PIN, puk,
                       newPin);
    }

    /**
     * Deactivates the signature PIN and tightens the access conditions of its DFs for good.
     *
     * @param target which card
     * @return what became of it
     */
    public Report lock(Target target) {
        return calls.run(new Call(Operation.LOCK.number(), options(target)));
    }

    /**
     * Brings a deactivated signature PIN back with its PUK.
     *
     * @param target which card
     * @param puk the value of the DS PUK
     * @param newPin the value that the PIN gets; null: the one that it had
     * @return what became of it
     */
    public Report reactivate(Target target, char[] puk, char[] newPin) {
        return present(Operation.REACTIVATE, target, Secret.DS_PUK, Secret.DS_PIN, puk, newPin);
    }

    /**
     * Brings a deactivated signature PIN back with its PUK.
     *
     * @param target which card
     * @param puk the value of the DS PUK
     * @param newPin the value that the PIN gets; null: the one that it had
     * @return what became of it
     */
    public Report reactivate(Target target, byte[] puk, byte[] newPin) {
        return present(Operation.REACTIVATE, target, Secret.DS_PUK, Secret.DS_PIN, puk, newPin);
    }

    /**
     * Finds out why it does not work. No card is asked anything.
     *
     * @param locale the language of the texts, English if the library does not speak it
     * @return the findings, good and bad
     */
    public List<Finding> doctor(Locale locale) {
        List<Finding> findings = new ArrayList<>();
        doctor(Options.DEFAULT, locale, findings::add);
        return findings;
    }

    /**
     * Finds out why it does not work, and tells each finding when it is made.
     *
     * @param options of which {@link Options#timeout} and {@link Options#onWaiting} count
     * @param locale the language of the texts, English if the library does not speak it
     * @param listener called on a thread of the desk
     * @return {@link Outcome#DONE} without a problem, else the outcome to which the first one leads
     */
    public Report doctor(Options options, Locale locale, Consumer<Finding> listener) {
        Objects.requireNonNull(listener, "listener");
        return calls.run(
            new Call(Native.CALL_DOCTOR, options(options)).in(locale).finding(members -> {
                listener.accept(new Finding(members));
                return true;
            }));
    }

    /**
     * Writes down what a help desk needs, with secrets and personal data masked.
     *
     * @param target which card
     * @return a JSON document, which also says why there is no card
     * @throws DeskException when it was not finished: the thread was interrupted
     */
    public String bundle(Target target) throws DeskException {
        ByteArrayOutputStream text = new ByteArrayOutputStream();
        done(calls.run(new Call(Native.CALL_BUNDLE, options(target)).finding(piece -> {
            text.write(piece, 0, piece.length);
            return true;
        })));
        return new String(text.toByteArray(), StandardCharsets.UTF_8);
    }

    private void setKey(int which, byte[] key) {
        if (key != null) {
            Options.checkKey(key);
        }
        calls.setKey(which, key);
    }

    private Report present(Operation operation, Target target, Secret presented, Secret changed,
                           Object value, Object newValue) {
        Call call = new Call(operation.number(), options(target))
                        .about(operation, changed)
                        .with(value, newValue);
        checkLength(presented, false, value, call.flags());
        if (newValue != null) {
            checkLength(changed, true, newValue, call.flags());
        }
        return calls.run(call);
    }

    private static void checkLength(Secret secret, boolean isNew, Object value, int flags) {
        Report report = checked(secret, isNew, value, flags);
        if (report.detail() == Detail.LENGTH || report.detail() == Detail.NEW_LENGTH) {
            throw new IllegalArgumentException(report.message(Locale.ENGLISH));
        }
    }

    private static Report checked(Secret secret, boolean isNew, Object value, int flags) {
        Objects.requireNonNull(secret, "secret");
        Objects.requireNonNull(value, "value");
        return new Report(Native.checkValue(secret.number(), isNew, value, flags));
    }

    private static Secret pukOf(Secret pin) {
        switch (Objects.requireNonNull(pin, "pin")) {
        case CNS_PIN:
            return Secret.CNS_PUK;
        case DS_PIN:
            return Secret.DS_PUK;
        default:
            throw new IllegalArgumentException(pin + " has no PUK here");
        }
    }

    private static Operation checkFamily(Operation family) {
        if (family != Operation.UNBLOCK_STARCOS && family != Operation.UNBLOCK_M4_1111) {
            throw new IllegalArgumentException(family + " is no family");
        }
        return family;
    }

    private static Options options(Target target) {
        Objects.requireNonNull(target, "target");
        return Objects.requireNonNull(target.options(), "options");
    }

    private static Report done(Report report) throws DeskException {
        if (!report.done()) {
            throw new DeskException(report);
        }
        return report;
    }

    private Card card(int call, Target target) throws DeskException {
        return collect(call, target, Card::new).get(0);
    }

    private <T> List<T> collect(int call, Target target, Function<byte[], T> make)
        throws DeskException {
        List<T> found = new ArrayList<>();
        done(calls.run(
            new Call(call, options(target)).finding(members -> found.add(make.apply(members)))));
        return found;
    }
}
