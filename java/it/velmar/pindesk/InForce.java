// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

/** Which value a secret has after a call. */
public enum InForce implements Numbered {
    /** The call changes no value. */
    NOT_CONCERNED(0),
    /** The value from before the call, whatever it is. */
    OLD(1),
    /** The new value. */
    NEW(2),
    /** One of the two. */
    UNKNOWN(3);

    private final int number;

    InForce(int number) { this.number = number; }

    @Override
    public int number() {
        return number;
    }
}
