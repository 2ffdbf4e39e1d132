// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

import java.util.Locale;
import java.util.Objects;
import java.util.function.Consumer;

/** What one call says to the native library. It refers to the caller's values and keys. */
final class Call {
    private final int call;
    private final Options options;
    private int operation;
    private int secret;
    private Object first;
    private Object second;
    private Locale locale = Locale.ENGLISH;
    private Native.Visitor found;

    Call(int call, Options options) {
        this.call = call;
        this.options = options;
    }

    Call about(Operation newOperation, Secret newSecret) {
        Objects.requireNonNull(newOperation, "operation");
        Objects.requireNonNull(newSecret, "secret");
        operation = newOperation.number();
        secret = newSecret.number();
        return this;
    }

    Call with(Object firstValue, Object secondValue) {
        first = firstValue;
        second = secondValue;
        return this;
    }

    Call in(Locale language) {
        locale = Objects.requireNonNull(language, "locale");
        return this;
    }

    Call finding(Native.Visitor visitor) {
        found = visitor;
        return this;
    }

    int flags() { return options.flags(); }

    Report runOn(long desk) {
        int[] numbers = {options.slot(), options.waitMilliseconds(), options.timeoutMilliseconds(),
                         options.flags()};
        byte[][] texts = {Native.utf8(options.reader()), Native.utf8(options.serial()),
                          Native.utf8(locale.toLanguageTag())};
        return new Report(Native.run(desk, call, operation, secret, first, second, numbers, texts,
                                     options.smKey(), options.adminKey(), found, waiting()));
    }

    private Native.Visitor waiting() {
        Consumer<Report> listener = options.waiting();
        if (listener == null) {
            return null;
        }
        return members -> {
            listener.accept(new Report(members));
            return true;
        };
    }
}
