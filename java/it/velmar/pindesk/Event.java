// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

/** What changed at a reader. */
public enum Event implements Numbered {
    /** A reader was connected. */
    READER_CAME(0),
    /** A reader was unplugged. */
    READER_WENT(1),
    /** A card was inserted. */
    CARD_CAME(2),
    /** A card was removed. */
    CARD_WENT(3);

    private final int number;

    Event(int number) { this.number = number; }

    @Override
    public int number() {
        return number;
    }
}
