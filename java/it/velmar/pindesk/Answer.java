// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

import java.nio.ByteBuffer;
import java.nio.charset.StandardCharsets;
import java.util.EnumSet;
import java.util.Optional;
import java.util.OptionalInt;
import java.util.Set;

/** What the native library tells, member by member, in the order in which it was written. */
final class Answer {
    private static final int NOT_TOLD = -1;

    private final ByteBuffer members;

    Answer(byte[] members) { this.members = ByteBuffer.wrap(members); }

    int number() { return members.getInt(); }

    boolean flag() { return number() != 0; }

    OptionalInt numberIfTold() {
        int number = number();
        return number == NOT_TOLD ? OptionalInt.empty() : OptionalInt.of(number);
    }

    <E extends Enum<E> &Numbered> E constant(Class<E> type) { return Numbered.of(type, number()); }

    /** The constants whose bits are set: bit n stands for number n. */
    <E extends Enum<E> &Numbered> Set<E> constants(Class<E> type) {
        int bits = number();
        Set<E> found = EnumSet.noneOf(type);
        for (E constant : type.getEnumConstants()) {
            if ((bits >> constant.number() & 1) != 0) {
                found.add(constant);
            }
        }
        return found;
    }

    byte[] bytes() {
        byte[] bytes = new byte[number()];
        members.get(bytes);
        return bytes;
    }

    String text() { return new String(bytes(), StandardCharsets.UTF_8); }

    Optional<String> textIfAny() { return Optional.of(text()).filter(text -> !text.isEmpty()); }
}
