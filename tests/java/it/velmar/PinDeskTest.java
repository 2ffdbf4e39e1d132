// SPDX-License-Identifier: Apache-2.0
//
// Every native method against the virtual card, through the real PC/SC service.

package it.velmar;

import static it.velmar.VirtualCard.EMPTY_SLOT;
import static it.velmar.VirtualCard.SLOT;
import static org.junit.jupiter.api.Assertions.assertEquals;

import it.velmar.Secret.Method;
import it.velmar.Secret.Unblock;
import java.nio.charset.StandardCharsets;
import java.util.HexFormat;
import java.util.List;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.TimeUnit;
import java.util.stream.Stream;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.Timeout;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.EnumSource;

@Timeout(value = 120, unit = TimeUnit.SECONDS)
class PinDeskTest {
    private static final String NEW_VALUE = "246810";
    private static final String WRONG_VALUE = "999999";
    private static final List<String> BAD_LENGTHS =
        List.of("1", "1234", "123456789", "1".repeat(300));

    private final PinDesk pinDesk = new PinDesk();
    private VirtualCard card;

    @BeforeEach
    void insertCard() {
        card = new VirtualCard(pinDesk);
    }

    @AfterEach
    void takeCardOut() {
        card.close();
    }

    @ParameterizedTest
    @EnumSource
    void changesAndChangesBack(Secret secret) {
        assertEquals(PinDesk.OK, change(secret, secret.value, NEW_VALUE));
        assertEquals(padded(NEW_VALUE), card.value(secret.onCard));
        assertEquals(PinDesk.OK, change(secret, NEW_VALUE, secret.value));
        assertEquals(padded(secret.value), card.value(secret.onCard));
    }

    @ParameterizedTest
    @EnumSource
    void wrongValueCostsOneTryAndBlocksWhenNoneIsLeft(Secret secret) {
        for (int left = secret.tries - 1; left >= 0; left--) {
            assertEquals(secret.verifyFailed, change(secret, WRONG_VALUE, NEW_VALUE));
            assertEquals(left, card.triesLeft(secret.onCard));
        }
        assertEquals(secret.blocked, change(secret, secret.value, NEW_VALUE));
        assertEquals(padded(secret.value), card.value(secret.onCard));
    }

    @ParameterizedTest
    @EnumSource
    void badLengthNeverReachesTheCard(Secret secret) {
        for (String bad : BAD_LENGTHS) {
            assertEquals(secret.badLength, change(secret, bad, NEW_VALUE));
            assertEquals(secret.badNewLength, change(secret, secret.value, bad));
        }
        assertEquals(PinDesk.MISSING_ARGUMENT, change(secret, "", NEW_VALUE));
        assertEquals(PinDesk.MISSING_ARGUMENT, change(secret, secret.value, ""));
        assertEquals(PinDesk.MISSING_ARGUMENT, change(secret, secret.value, null));
        assertEquals(0, card.presented(secret.onCard));
    }

    @ParameterizedTest
    @EnumSource
    void pukBringsABlockedPinBack(Unblock unblock) {
        for (int i = 0; i < unblock.pin.tries; i++) {
            change(unblock.pin, WRONG_VALUE, NEW_VALUE);
        }
        assertEquals(unblock.pin.blocked, change(unblock.pin, unblock.pin.value, NEW_VALUE));
        assertEquals(PinDesk.OK, unblock(unblock, unblock.puk.value, NEW_VALUE));
        assertEquals(padded(NEW_VALUE), card.value(unblock.pin.onCard));
        assertEquals(unblock.pin.tries, card.triesLeft(unblock.pin.onCard));
        assertEquals(PinDesk.OK, change(unblock.pin, NEW_VALUE, unblock.pin.value));
    }

    @ParameterizedTest
    @EnumSource
    void wrongPukLeavesThePinAndBlocksInTheEnd(Unblock unblock) {
        for (int left = unblock.puk.tries - 1; left >= 0; left--) {
            assertEquals(unblock.puk.verifyFailed, unblock(unblock, WRONG_VALUE, NEW_VALUE));
            assertEquals(left, card.triesLeft(unblock.puk.onCard));
        }
        assertEquals(unblock.puk.blocked, unblock(unblock, unblock.puk.value, NEW_VALUE));
        assertEquals(padded(unblock.pin.value), card.value(unblock.pin.onCard));
    }

    @ParameterizedTest
    @EnumSource
    void unblockWithABadLengthOrAnIncompletePairPresentsNothing(Unblock unblock) {
        for (String bad : BAD_LENGTHS) {
            assertEquals(unblock.puk.badLength, unblock(unblock, bad, NEW_VALUE));
            assertEquals(unblock.pin.badNewLength, unblock(unblock, unblock.puk.value, bad));
        }
        assertEquals(PinDesk.OK, unblock(unblock, "", NEW_VALUE));
        assertEquals(PinDesk.OK, unblock(unblock, unblock.puk.value, ""));
        assertEquals(0, card.presented(unblock.puk.onCard));
    }

    @Test
    void lengthsAreCountedInModifiedUtf8Bytes() {
        Secret secret = Secret.CNS_PIN;
        String present = secret.value;
        for (String accepted : List.of("\u00e81\u00f22", "\u20ac\u20ac", "\ud83d\ude0012")) {
            assertEquals(PinDesk.OK, change(secret, present, accepted));
            present = accepted;
        }
        assertEquals("EDA0BDEDB8803132", card.value(secret.onCard));
        assertEquals(secret.badNewLength, change(secret, present, "\u00e8\u00e8"));
        assertEquals(secret.badNewLength,
                     change(secret, present, "\u00e8\u00e8\u00e8\u00e8\u00e8"));
        assertEquals(PinDesk.OK, change(Secret.DS_PIN, Secret.DS_PIN.value, "\u00e81\u00f22"));
        assertEquals(padded("\u00e81\u00f22"), card.value(Secret.DS_PIN.onCard));
    }

    @Test
    void noReaderAndNoCard() {
        for (Method method : allMethods()) {
            for (int slot :
                 new int[] {0, -1, EMPTY_SLOT + 1, Integer.MAX_VALUE, Integer.MIN_VALUE}) {
                assertEquals(PinDesk.NO_READER, method.call(pinDesk, slot, "12345", NEW_VALUE));
            }
            assertEquals(PinDesk.NO_CARD, method.call(pinDesk, EMPTY_SLOT, "12345", NEW_VALUE));
        }
    }

    @Test
    void aCardThatWasTakenOutIsNoticed() {
        card.close();
        for (Method method : allMethods()) {
            assertEquals(PinDesk.NO_CARD, method.call(pinDesk, SLOT, "12345", NEW_VALUE));
        }
    }

    @Test
    void threadsTakeTurnsAtOneCard() {
        Stream.of(Secret.values())
            .map(secret -> CompletableFuture.runAsync(() -> {
                for (int i = 0; i < 5; i++) {
                    assertEquals(PinDesk.OK, change(secret, secret.value, NEW_VALUE));
                    assertEquals(PinDesk.OK, change(secret, NEW_VALUE, secret.value));
                }
            }))
            .toList()
            .forEach(CompletableFuture::join);
        for (Secret secret : Secret.values()) {
            assertEquals(padded(secret.value), card.value(secret.onCard));
            assertEquals(secret.tries, card.triesLeft(secret.onCard));
        }
    }

    private static List<Method> allMethods() {
        return Stream
            .concat(Stream.of(Secret.values()).map(secret -> secret.change),
                    Stream.of(Unblock.values()).map(unblock -> unblock.method))
            .toList();
    }

    private long change(Secret secret, String oldValue, String newValue) {
        return secret.change.call(pinDesk, SLOT, oldValue, newValue);
    }

    private long unblock(Unblock unblock, String puk, String newPin) {
        return unblock.method.call(pinDesk, SLOT, puk, newPin);
    }

    /** A value as the card holds it, in hexadecimal. */
    private static String padded(String value) {
        String hex =
            HexFormat.of().withUpperCase().formatHex(value.getBytes(StandardCharsets.UTF_8));
        return hex + "F".repeat(16 - hex.length());
    }
}
