// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

import java.nio.charset.StandardCharsets;
import java.util.Locale;
import java.util.Objects;

/** The native library. Objects go to it as they are, answers come back as members in a row. */
final class Native {
    /** The calls, beside those of {@link Operation}. */
    static final int CALL_CHECK = 100;
    static final int CALL_READERS = 101;
    static final int CALL_WATCH = 102;
    static final int CALL_FIND = 103;
    static final int CALL_SERIAL = 104;
    static final int CALL_IDENTIFY = 105;
    static final int CALL_STATUS = 106;
    static final int CALL_DOCTOR = 107;
    static final int CALL_BUNDLE = 108;

    static final int TEXT_OF_REPORT = 0;
    static final int ADVICE_OF_REPORT = 1;
    static final int TEXT_OF_STATE = 2;
    static final int TEXT_OF_LAYOUT = 3;
    static final int TITLE_OF_SECRET = 4;
    static final int TEXT_OF_WEAKNESS = 5;
    static final int TEXT_OF_KIND = 6;
    static final int TEXT_OF_OUTCOME = 7;
    static final int TEXT_OF_CODE = 8;
    static final int ADVICE_OF_CODE = 9;
    static final int TEXT_OF_STATUS_WORD = 10;
    static final int VERSION = 11;

    static final int KEY_SECURE_MESSAGING = 0;
    static final int KEY_ADMIN = 1;

    static { Library.load(); }

    private Native() {}

    /** Takes what a call finds on its way. */
    interface Visitor {
        /** Returns whether to go on. */
        boolean visit(byte[] members);
    }

    /** Opens a desk; with the keys of another one if that is not 0. 0 when memory is short. */
    static native long open(long like);

    static native void close(long desk);

    static native void cancel(long desk);

    /** The outcome's number. A null key takes the desk's away. */
    static native int setKey(long desk, int which, byte[] key);

    /** A report. */
    static native byte[] loadKey(long desk, int which, byte[] path);

    /**
     * Makes a call on a desk.
     *
     * @param call an operation's number or one of the constants
     * @param operation of a check
     * @param first, second values: byte[], char[] or null
     * @param numbers slot, wait, timeout, flags
     * @param texts reader, serial, language, each null or UTF-8
     * @return the report
     */
    static native byte[] run(long desk, int call, int operation, int secret, Object first,
                             Object second, int[] numbers, byte[][] texts, byte[] smKey,
                             byte[] adminKey, Visitor found, Visitor waiting);

    /** A report on a value by itself. */
    static native byte[] checkValue(int secret, boolean isNew, Object value, int flags);

    /** The length in bytes that a person should keep to. */
    static native int limit(int secret, boolean longest);

    /** The outcome's number. */
    static native int outcomeOfCode(int code);

    /** The number of what makes sense next. */
    static native int nextOfCode(int code);

    private static native byte[] words(int what, byte[] original, int number, byte[] language);

    static String text(int what, byte[] original, int number, Locale locale) {
        Objects.requireNonNull(locale, "locale");
        return new String(words(what, original, number, utf8(locale.toLanguageTag())),
                          StandardCharsets.UTF_8);
    }

    static byte[] utf8(String text) {
        return text == null ? null : text.getBytes(StandardCharsets.UTF_8);
    }
}
