// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

/** A constant that has a number in every language in which the desk is used. */
public interface Numbered {
    /**
     * Tells the number.
     *
     * @return the same number as in C; it never changes its meaning
     */
    int number();

    /**
     * Finds the constant with a number.
     *
     * @param <E> the kind of constant
     * @param type its class
     * @param number as the native library gives it
     * @return the constant
     * @throws IllegalStateException when there is none: library and jar are of different versions
     */
    static <E extends Enum<E> & Numbered> E of(Class<E> type, int number) {
        for (E constant : type.getEnumConstants()) {
            if (constant.number() == number) {
                return constant;
            }
        }
        throw new IllegalStateException(
            "library and jar are of different versions: " + type.getSimpleName() + " " + number);
    }
}
