// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

import java.util.Optional;

/** One thing that the diagnosis found. */
public final class Finding {
    private final String id;
    private final int severity;
    private final Optional<String> reader;
    private final String what;
    private final Optional<String> cause;
    private final Optional<String> remedy;

    Finding(byte[] members) {
        Answer answer = new Answer(members);
        id = answer.text();
        severity = answer.number();
        reader = answer.textIfAny();
        what = answer.text();
        cause = answer.textIfAny();
        remedy = answer.textIfAny();
    }

    /**
     * A name for programs: "service-not-running".
     *
     * @return English, and stable
     */
    public String id() { return id; }

    /**
     * How bad it is.
     *
     * @return 0: as it should be, 1: worth knowing, 2: a problem
     */
    public int severity() { return severity; }

    /**
     * The reader that it is about.
     *
     * @return empty when it is about none
     */
    public Optional<String> reader() { return reader; }

    /**
     * What was found.
     *
     * @return a sentence in the language asked for
     */
    public String what() { return what; }

    /**
     * Why it is so.
     *
     * @return empty where all is well
     */
    public Optional<String> cause() { return cause; }

    /**
     * What helps.
     *
     * @return empty where all is well
     */
    public Optional<String> remedy() { return remedy; }

    /** Name and sentence. */
    @Override
    public String toString() {
        return id + ": " + what;
    }
}
