// SPDX-License-Identifier: Apache-2.0
//
// The six native methods, and what a fresh virtual card has to do with each.

package it.velmar;

enum Method {
    CHANGE_CNS_PIN(PinDesk::ChangePinCNS, "12345678", PinDesk.VERIFY_CNS_PIN, "cns-pin"),
    CHANGE_CNS_PUK(PinDesk::ChangePukCNS, "87654321", PinDesk.VERIFY_CNS_PUK, "cns-puk"),
    CHANGE_DS_PIN(PinDesk::ChangePinDS, "13572468", PinDesk.VERIFY_DS_PIN, "ds-pin"),
    CHANGE_DS_PUK(PinDesk::ChangePukDS, "24681357", PinDesk.VERIFY_DS_PUK, "ds-puk"),
    UNBLOCK_CNS_PIN(PinDesk::UnBlockPinCNS, "87654321", PinDesk.VERIFY_CNS_PUK, "cns-pin"),
    UNBLOCK_DS_PIN(PinDesk::UnBlockPinDS, "24681357", PinDesk.VERIFY_DS_PUK, "ds-pin");

    @FunctionalInterface
    interface Call {
        long with(PinDesk pinDesk, int numslot, String present, String next);
    }

    final Call call;
    /** The value to present. */
    final String present;
    /** The result when another one is presented. */
    final long wrong;
    /** The secret that gets a new value, as the card names it. */
    final String changed;

    Method(Call call, String present, long wrong, String changed) {
        this.call = call;
        this.present = present;
        this.wrong = wrong;
        this.changed = changed;
    }
}
