// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

/** A PIN or a PUK. */
public enum Secret implements Numbered {
    /** Authentication. */
    CNS_PIN(0),
    /** Unblocks the CNS PIN. */
    CNS_PUK(1),
    /** Signature. */
    DS_PIN(2),
    /** Unblocks the DS PIN. */
    DS_PUK(3),
    /** Of another family; in reports only. */
    OTHER_PIN(4),
    /** Of another family; in reports only. */
    OTHER_PUK(5);

    private final int number;

    Secret(int number) { this.number = number; }

    @Override
    public int number() {
        return number;
    }
}
