// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

import java.util.Optional;

/** A reader, and what is seen of the card in it without a connection. */
public final class Reader implements Target {
    private final int slot;
    private final boolean hasCard;
    private final boolean mute;
    private final boolean inUse;
    private final boolean exclusive;
    private final Kind kind;
    private final byte[] atr;
    private final String name;
    private final Optional<String> holders;

    Reader(Answer answer) {
        slot = answer.number();
        hasCard = answer.flag();
        mute = answer.flag();
        inUse = answer.flag();
        exclusive = answer.flag();
        kind = answer.constant(Kind.class);
        atr = answer.bytes();
        name = answer.text();
        holders = answer.textIfAny();
    }

    /**
     * The position in the list of readers.
     *
     * @return from 1
     */
    public int slot() { return slot; }

    /**
     * The name, as PC/SC gives it.
     *
     * @return the name
     */
    public String name() { return name; }

    /**
     * Whether a card is in the reader.
     *
     * @return true if so
     */
    public boolean hasCard() { return hasCard; }

    /**
     * Whether the card does not answer to reset.
     *
     * @return true if so
     */
    public boolean isMute() { return mute; }

    /**
     * Whether a program is connected to the card.
     *
     * @return true if so
     */
    public boolean isInUse() { return inUse; }

    /**
     * Whether a program holds the reader for itself alone.
     *
     * @return true if so
     */
    public boolean isExclusive() { return exclusive; }

    /**
     * The kind of the card, from its answer to reset.
     *
     * @return the kind
     */
    public Kind kind() { return kind; }

    /**
     * The card's answer to reset.
     *
     * @return a copy; empty without a card
     */
    public byte[] atr() { return atr.clone(); }

    /**
     * Which programs may be the ones that hold the card.
     *
     * @return names separated by ", ", as far as the system tells
     */
    public Optional<String> holders() { return holders; }

    /** Whichever card is in this reader at the time of the call. */
    @Override
    public Options options() {
        return Options.DEFAULT.reader(name);
    }

    /** Slot and name. */
    @Override
    public String toString() {
        return slot + " " + name;
    }
}
