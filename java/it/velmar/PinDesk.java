// SPDX-License-Identifier: Apache-2.0
//
// The Java door of the PinDesk library.

package it.velmar;

/**
 * Changes and unblocks the PINs and PUKs of Italian national services cards (CNS) in PC/SC readers.
 *
 * <p>A card carries two applications with a PIN and a PUK each: the CNS application
 * (authentication) and the signature application (DS). Commands of the signature application travel
 * under secure messaging, with the key that the native library holds.
 *
 * <p>{@link it.velmar.pindesk.Desk} is the better door for new programs: it tells the tries that
 * are left, keeps the last one, takes an issuer's key and a deadline, knows what holds after a lost
 * answer, and puts everything into words. These methods answer with a number.
 *
 * <p>All methods follow the same rules:
 *
 * <ul>
 *   <li>{@code numslot} is the position of the reader in the list of readers, counted from 1.
 *   <li>A secret has 5 to 8 bytes of its (modified) UTF-8 form: an ASCII character counts one, an
 *       accented letter two. It goes to the card as these bytes. An empty string, or {@code null},
 *       counts as not given.
 *   <li>The result is {@link #OK} or one of the negative constants; every method can return {@link
 *       #NO_CONTEXT}, {@link #NO_READER}, {@link #NO_CARD} and {@link #SELECT_FAILED}. No exception
 *       is thrown.
 *   <li>A call blocks until the card has answered, and while another program holds the card.
 * </ul>
 *
 * <p>A wrong length is found before anything reaches the card and costs no try. A wrong secret
 * costs a try, and the card blocks it when none is left.
 *
 * <p>The native library wipes its own copies of a secret. A Java string cannot be wiped, nor can
 * the copy that the virtual machine makes for a native method: where that matters, keep the strings
 * short-lived and the process out of swap and core dumps.
 *
 * <p>Objects of this class hold nothing. They can be used from several threads; calls for the same
 * card wait for each other.
 */
public class PinDesk {
    /** The operation succeeded. */
    public static final long OK = 0;

    /** The PC/SC service cannot be reached (is pcscd installed and running?). */
    public static final long NO_CONTEXT = -1;

    /** There is no reader at this slot. */
    public static final long NO_READER = -2;

    /** There is no card in the reader, or it cannot be connected. */
    public static final long NO_CARD = -3;

    /** The card refused the selection of its master file: it is of another kind, or faulty. */
    public static final long SELECT_FAILED = -4;

    /** The card refused secure messaging: its key is not the library's. */
    public static final long SECURE_MESSAGING = -10;

    /** The old CNS PIN was right, but the card refused the new one. */
    public static final long CHANGE_CNS_PIN = -15;

    /** The old CNS PUK was right, but the card refused the new one. */
    public static final long CHANGE_CNS_PUK = -16;

    /** The old DS PIN was right, but the card refused the new one. */
    public static final long CHANGE_DS_PIN = -17;

    /** The old DS PUK was right, but the card refused the new one. */
    public static final long CHANGE_DS_PUK = -18;

    /** The CNS PUK was right, but the card refused to reset the CNS PIN. */
    public static final long UNBLOCK_CNS_PIN = -20;

    /** The DS PUK was right, but the card refused to reset the DS PIN. */
    public static final long UNBLOCK_DS_PIN = -21;

    /** The CNS PIN was not accepted. */
    public static final long VERIFY_CNS_PIN = -22;

    /** The CNS PUK was not accepted. */
    public static final long VERIFY_CNS_PUK = -23;

    /** The DS PIN was not accepted. */
    public static final long VERIFY_DS_PIN = -24;

    /** The DS PUK was not accepted. */
    public static final long VERIFY_DS_PUK = -25;

    /** The CNS PIN is blocked: only the CNS PUK helps. */
    public static final long BLOCKED_CNS_PIN = -32;

    /** The same value from an unblock method: the reader failed while the PIN was being reset. */
    public static final long READER_FAILED = -32;

    /** The CNS PUK is blocked. */
    public static final long BLOCKED_CNS_PUK = -33;

    /** The DS PIN is blocked: only the DS PUK helps. */
    public static final long BLOCKED_DS_PIN = -34;

    /** The DS PUK is blocked. */
    public static final long BLOCKED_DS_PUK = -35;

    /** The new CNS PIN has not 5 to 8 bytes. */
    public static final long NEW_CNS_PIN_LENGTH = -56;

    /** The new CNS PUK has not 5 to 8 bytes. */
    public static final long NEW_CNS_PUK_LENGTH = -57;

    /** The new DS PIN has not 5 to 8 bytes. */
    public static final long NEW_DS_PIN_LENGTH = -58;

    /** The new DS PUK has not 5 to 8 bytes. */
    public static final long NEW_DS_PUK_LENGTH = -59;

    /** The CNS PIN has not 5 to 8 bytes. */
    public static final long CNS_PIN_LENGTH = -60;

    /** The CNS PUK has not 5 to 8 bytes. */
    public static final long CNS_PUK_LENGTH = -61;

    /** The DS PIN has not 5 to 8 bytes. */
    public static final long DS_PIN_LENGTH = -62;

    /** The DS PUK has not 5 to 8 bytes. */
    public static final long DS_PUK_LENGTH = -63;

    /** The old or the new value is empty or null. */
    public static final long MISSING_ARGUMENT = -64;

    static { loadLibrary("pindesk"); }

    /** Makes the methods available; no reader or card is touched. */
    public PinDesk() {}

    /**
     * Changes the PIN of the CNS application.
     *
     * @param numslot the reader, counted from 1
     * @param oldPinCNS the present PIN
     * @param newPinCNS the new PIN
     * @return {@link #OK}, {@link #NO_CONTEXT}, {@link #NO_READER}, {@link #NO_CARD}, {@link
     *     #SELECT_FAILED}, {@link #CHANGE_CNS_PIN}, {@link #VERIFY_CNS_PIN}, {@link
     *     #BLOCKED_CNS_PIN}, {@link #NEW_CNS_PIN_LENGTH}, {@link #CNS_PIN_LENGTH} or {@link
     *     #MISSING_ARGUMENT}
     * @see it.velmar.pindesk.Desk#change(it.velmar.pindesk.Target, it.velmar.pindesk.Secret,
     *     char[], char[])
     */
    public native long ChangePinCNS(int numslot, String oldPinCNS, String newPinCNS);

    /**
     * Changes the PUK of the CNS application.
     *
     * @param numslot the reader, counted from 1
     * @param oldPukCNS the present PUK
     * @param newPukCNS the new PUK
     * @return {@link #OK}, {@link #NO_CONTEXT}, {@link #NO_READER}, {@link #NO_CARD}, {@link
     *     #SELECT_FAILED}, {@link #CHANGE_CNS_PUK}, {@link #VERIFY_CNS_PUK}, {@link
     *     #BLOCKED_CNS_PUK}, {@link #NEW_CNS_PUK_LENGTH}, {@link #CNS_PUK_LENGTH} or {@link
     *     #MISSING_ARGUMENT}
     * @see it.velmar.pindesk.Desk#change(it.velmar.pindesk.Target, it.velmar.pindesk.Secret,
     *     char[], char[])
     */
    public native long ChangePukCNS(int numslot, String oldPukCNS, String newPukCNS);

    /**
     * Changes the PIN of the signature application, under secure messaging.
     *
     * @param numslot the reader, counted from 1
     * @param oldPinDS the present PIN
     * @param newPinDS the new PIN
     * @return {@link #OK}, {@link #NO_CONTEXT}, {@link #NO_READER}, {@link #NO_CARD}, {@link
     *     #SELECT_FAILED}, {@link #SECURE_MESSAGING}, {@link #CHANGE_DS_PIN}, {@link
     *     #VERIFY_DS_PIN} (also when the card refuses the protection of the old value), {@link
     *     #BLOCKED_DS_PIN}, {@link #NEW_DS_PIN_LENGTH}, {@link #DS_PIN_LENGTH} or {@link
     *     #MISSING_ARGUMENT}
     * @see it.velmar.pindesk.Desk#change(it.velmar.pindesk.Target, it.velmar.pindesk.Secret,
     *     char[], char[])
     */
    public native long ChangePinDS(int numslot, String oldPinDS, String newPinDS);

    /**
     * Changes the PUK of the signature application, under secure messaging.
     *
     * @param numslot the reader, counted from 1
     * @param oldPukDS the present PUK
     * @param newPukDS the new PUK
     * @return {@link #OK}, {@link #NO_CONTEXT}, {@link #NO_READER}, {@link #NO_CARD}, {@link
     *     #SELECT_FAILED}, {@link #SECURE_MESSAGING}, {@link #CHANGE_DS_PUK}, {@link
     *     #VERIFY_DS_PUK} (also when the card refuses the protection of the old value), {@link
     *     #BLOCKED_DS_PUK}, {@link #NEW_DS_PUK_LENGTH}, {@link #DS_PUK_LENGTH} or {@link
     *     #MISSING_ARGUMENT}
     * @see it.velmar.pindesk.Desk#change(it.velmar.pindesk.Target, it.velmar.pindesk.Secret,
     *     char[], char[])
     */
    public native long ChangePukDS(int numslot, String oldPukDS, String newPukDS);

    /**
     * Unblocks the PIN of the CNS application and sets a new one.
     *
     * <p>When a string is empty or null, the card is opened and nothing is done: a success of a
     * call without values says no more than that there is a card.
     *
     * @param numslot the reader, counted from 1; checked before the lengths
     * @param PukCNS the PUK
     * @param PinCNS the new PIN
     * @return {@link #OK}, {@link #NO_CONTEXT}, {@link #NO_READER}, {@link #NO_CARD}, {@link
     *     #SELECT_FAILED}, {@link #UNBLOCK_CNS_PIN}, {@link #VERIFY_CNS_PUK}, {@link
     *     #READER_FAILED}, {@link #BLOCKED_CNS_PUK}, {@link #NEW_CNS_PIN_LENGTH} or {@link
     *     #CNS_PUK_LENGTH}
     * @see it.velmar.pindesk.Desk#unblock(it.velmar.pindesk.Target, it.velmar.pindesk.Secret,
     *     char[], char[])
     */
    public native long UnBlockPinCNS(int numslot, String PukCNS, String PinCNS);

    /**
     * Unblocks the PIN of the signature application and sets a new one, under secure messaging.
     *
     * <p>When a string is empty or null, the card is opened and nothing is done: a success of a
     * call without values says no more than that there is a card.
     *
     * @param numslot the reader, counted from 1; checked before the lengths
     * @param PukDS the PUK
     * @param PinDS the new PIN
     * @return {@link #OK}, {@link #NO_CONTEXT}, {@link #NO_READER}, {@link #NO_CARD}, {@link
     *     #SELECT_FAILED}, {@link #SECURE_MESSAGING}, {@link #UNBLOCK_DS_PIN}, {@link
     *     #VERIFY_DS_PUK}, {@link #READER_FAILED}, {@link #BLOCKED_DS_PUK}, {@link
     *     #NEW_DS_PIN_LENGTH} or {@link #DS_PUK_LENGTH}
     * @see it.velmar.pindesk.Desk#unblock(it.velmar.pindesk.Target, it.velmar.pindesk.Secret,
     *     char[], char[])
     */
    public native long UnBlockPinDS(int numslot, String PukDS, String PinDS);

    /** Loads the native library by name, and says where it was looked for when that fails. */
    private static void loadLibrary(String name) {
        try {
            System.loadLibrary(name);
        } catch (UnsatisfiedLinkError cause) {
            var error = new UnsatisfiedLinkError(
                String.format("the native library %s (%s) was not loaded: the property"
                                  + " java.library.path, now \"%s\", must name its directory (%s)",
                              name, System.mapLibraryName(name),
                              System.getProperty("java.library.path"), cause.getMessage()));
            error.initCause(cause);
            throw error;
        }
    }
}
