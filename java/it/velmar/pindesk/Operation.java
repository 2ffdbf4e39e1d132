// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

/** What a report is about, and what a card can do. */
public enum Operation implements Numbered {
    /** Readers, find, serial, identify, status, doctor. */
    LOOK(0),
    /** Presenting a secret. */
    VERIFY(1),
    /** Setting a new value with the old one. */
    CHANGE(2),
    /** Resetting a PIN with its PUK. */
    UNBLOCK(3),
    /** Deactivating the signature PIN. */
    LOCK(4),
    /** Bringing the signature PIN back. */
    REACTIVATE(5),
    /** Both PINs of a Starcos card. */
    UNBLOCK_STARCOS(6),
    /** The PIN in DF 1111 of a CardOS M4 card. */
    UNBLOCK_M4_1111(7);

    private final int number;

    Operation(int number) { this.number = number; }

    @Override
    public int number() {
        return number;
    }
}
