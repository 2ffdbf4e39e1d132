// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

/** The state of a secret. */
public enum State implements Numbered {
    /** The card does not tell, or was not asked. */
    NOT_TOLD(0),
    /** It can be presented. */
    READY(1),
    /** One try is left. */
    LAST_TRY(2),
    /** No try is left. */
    BLOCKED(3),
    /** It is deactivated. */
    DEACTIVATED(4),
    /** By a program just now: such a card tells no tries. */
    VERIFIED(5),
    /** Not on this card. */
    ABSENT(6);

    private final int number;

    State(int number) { this.number = number; }

    @Override
    public int number() {
        return number;
    }
}
