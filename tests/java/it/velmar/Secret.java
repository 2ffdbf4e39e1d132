// SPDX-License-Identifier: Apache-2.0
//
// The secrets of a fresh virtual card, with the methods and results that belong to each.

package it.velmar;

/** A secret and its change method. */
enum Secret {
    CNS_PIN("cns-pin", "12345678", 3, PinDesk::ChangePinCNS, PinDesk.VERIFY_CNS_PIN,
            PinDesk.BLOCKED_CNS_PIN, PinDesk.CNS_PIN_LENGTH, PinDesk.NEW_CNS_PIN_LENGTH),
    CNS_PUK("cns-puk", "87654321", 5, PinDesk::ChangePukCNS, PinDesk.VERIFY_CNS_PUK,
            PinDesk.BLOCKED_CNS_PUK, PinDesk.CNS_PUK_LENGTH, PinDesk.NEW_CNS_PUK_LENGTH),
    DS_PIN("ds-pin", "13572468", 3, PinDesk::ChangePinDS, PinDesk.VERIFY_DS_PIN,
           PinDesk.BLOCKED_DS_PIN, PinDesk.DS_PIN_LENGTH, PinDesk.NEW_DS_PIN_LENGTH),
    DS_PUK("ds-puk", "24681357", 5, PinDesk::ChangePukDS, PinDesk.VERIFY_DS_PUK,
           PinDesk.BLOCKED_DS_PUK, PinDesk.DS_PUK_LENGTH, PinDesk.NEW_DS_PUK_LENGTH);

    /** One of the six methods. */
    @FunctionalInterface
    interface Method {
        long call(PinDesk pinDesk, int numslot, String first, String second);
    }

    /** An unblock method, with the secrets it takes. */
    enum Unblock {
        CNS(PinDesk::UnBlockPinCNS, CNS_PUK, CNS_PIN),
        DS(PinDesk::UnBlockPinDS, DS_PUK, DS_PIN);

        final Method method;
        final Secret puk;
        final Secret pin;

        Unblock(Method method, Secret puk, Secret pin) {
            this.method = method;
            this.puk = puk;
            this.pin = pin;
        }
    }

    final String onCard;
    final String value;
    final int tries;
    final Method change;
    final long verifyFailed;
    final long blocked;
    final long badLength;
    final long badNewLength;

    Secret(String onCard, String value, int tries, Method change, long verifyFailed, long blocked,
           long badLength, long badNewLength) {
        this.onCard = onCard;
        this.value = value;
        this.tries = tries;
        this.change = change;
        this.verifyFailed = verifyFailed;
        this.blocked = blocked;
        this.badLength = badLength;
        this.badNewLength = badNewLength;
    }
}
