// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

import java.util.Collections;
import java.util.Locale;
import java.util.Optional;
import java.util.OptionalInt;
import java.util.Set;

/** A card, as far as the call that gave it has looked. */
public final class Card implements Target {
    private final Reader reader;
    private final Optional<String> serial;
    private final OptionalInt layout;
    private final boolean speaksT0;
    private final boolean speaksT1;
    private final int clockFactor;
    private final int rateFactor;
    private final int bitsPerSecond;
    private final Set<Operation> operations;
    private final Optional<String> chip;
    private final String historical;

    Card(byte[] members) { this(new Answer(members)); }

    private Card(Answer answer) {
        reader = new Reader(answer);
        serial = answer.textIfAny();
        layout = answer.numberIfTold();
        speaksT0 = answer.flag();
        speaksT1 = answer.flag();
        clockFactor = answer.number();
        rateFactor = answer.number();
        bitsPerSecond = answer.number();
        operations = Collections.unmodifiableSet(answer.constants(Operation.class));
        chip = answer.textIfAny();
        historical = answer.text();
    }

    /**
     * The reader that holds it.
     *
     * @return the reader, as it was then
     */
    public Reader reader() { return reader; }

    /**
     * The serial number.
     *
     * @return empty when it was not asked for, or none can be read
     */
    public Optional<String> serial() { return serial; }

    /**
     * The layout of its files, as a number.
     *
     * @return empty when it was not asked for
     */
    public OptionalInt layout() { return layout; }

    /**
     * The layout of its files, in words.
     *
     * @param locale its language is used, English if the library does not speak it
     * @return empty when the layout was not asked for
     */
    public String layoutText(Locale locale) {
        return layout.isEmpty()
            ? ""
            : Native.text(Native.TEXT_OF_LAYOUT, null, layout.getAsInt(), locale);
    }

    /**
     * Whether the answer to reset offers the protocol T=0.
     *
     * @return true if so
     */
    public boolean speaksT0() { return speaksT0; }

    /**
     * Whether the answer to reset offers the protocol T=1.
     *
     * @return true if so
     */
    public boolean speaksT1() { return speaksT1; }

    /**
     * The clock rate conversion factor Fi.
     *
     * @return 372 without interface byte TA1, 0 for a reserved value
     */
    public int clockFactor() { return clockFactor; }

    /**
     * The baud rate adjustment factor Di.
     *
     * @return 1 without interface byte TA1, 0 for a reserved value
     */
    public int rateFactor() { return rateFactor; }

    /**
     * The speed that the card offers, at a clock of 4 MHz.
     *
     * @return bits a second; 0 when a factor is reserved
     */
    public int bitsPerSecond() { return bitsPerSecond; }

    /**
     * What this card can do.
     *
     * @return an unmodifiable set
     */
    public Set<Operation> operations() { return operations; }

    /**
     * The family of the chip.
     *
     * @return English; empty when it is not known
     */
    public Optional<String> chip() { return chip; }

    /**
     * The historical bytes of the answer to reset.
     *
     * @return as text, '.' for what is not printable
     */
    public String historical() { return historical; }

    /**
     * This card, wherever it is, if its serial number is known; else whichever is in its reader.
     */
    @Override
    public Options options() {
        return serial.map(Options.DEFAULT::serial).orElseGet(reader::options);
    }

    /** Reader and serial number. */
    @Override
    public String toString() {
        return reader + serial.map(text -> ": " + text).orElse("");
    }
}
