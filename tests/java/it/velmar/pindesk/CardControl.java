// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

/** The in-process virtual card, from outside. */
final class CardControl {
    static { System.load(System.getProperty("pindesk.control")); }

    private CardControl() {}

    /** Sets an environment variable of this process; null takes it away. */
    static native void variable(String name, String value);

    /** The next call makes readers and cards from the environment as it is then. */
    static native void restart();

    /** Contexts, connections and transactions that are open. */
    static native long open();
}
