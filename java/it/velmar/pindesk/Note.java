// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

/** What else a report has to tell. */
public enum Note implements Numbered {
    /** An answer was lost; the card was asked what holds. */
    ANSWER_LOST(0),
    /** The call started again after another program's reset; no secret had left. */
    STARTED_AGAIN(1),
    /** The secret stays verified for other programs. */
    LEFT_VERIFIED(2),
    /** The administration key was blocked for good, by this call. */
    ADMIN_KEY_BLOCKED(3),
    /** The card has no serial number: it is held to by its answer to reset. */
    SERIAL_NOT_CHECKED(4),
    /** The call was made with {@link Options#anyCharacters}. */
    ANY_CHARACTERS(5);

    private final int number;

    Note(int number) { this.number = number; }

    /** Tells the number: that of its bit. */
    @Override
    public int number() {
        return number;
    }
}
