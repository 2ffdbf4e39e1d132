// SPDX-License-Identifier: Apache-2.0
//
// Every native method against the virtual card, through the real PC/SC service. The card is there
// from the first test to the last: each leaves it as it was.

package it.velmar;

import static org.junit.jupiter.api.Assertions.assertEquals;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.HexFormat;
import java.util.List;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.TimeUnit;
import java.util.regex.Pattern;
import java.util.stream.Stream;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.Timeout;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.EnumSource;

@Timeout(value = 120, unit = TimeUnit.SECONDS)
class PinDeskTest {
    private static final int SLOT = 1;
    private static final int EMPTY_SLOT = 2;
    private static final String NEW_VALUE = "246810";
    private static final String WRONG_VALUE = "99999999";

    private final PinDesk pinDesk = new PinDesk();

    @ParameterizedTest
    @EnumSource
    void changesAndChangesBack(Method method) throws IOException {
        String before = onCard(method.changed);
        assertEquals(method.wrong, call(method, WRONG_VALUE, NEW_VALUE));
        assertEquals(before, onCard(method.changed));
        assertEquals(PinDesk.OK, call(method, method.present, NEW_VALUE));
        assertEquals(padded(NEW_VALUE), onCard(method.changed));
        restore(method.changed, NEW_VALUE);
        assertEquals(before, onCard(method.changed));
    }

    @ParameterizedTest
    @EnumSource(names = "UNBLOCK_.*", mode = EnumSource.Mode.MATCH_ALL)
    void pukBringsABlockedPinBack(Method unblock) {
        Method change = changing(unblock.changed);
        for (int i = 0; i < 3; i++) {
            assertEquals(change.wrong, call(change, WRONG_VALUE, NEW_VALUE));
        }
        long blocked =
            change == Method.CHANGE_CNS_PIN ? PinDesk.BLOCKED_CNS_PIN : PinDesk.BLOCKED_DS_PIN;
        assertEquals(blocked, call(change, change.present, NEW_VALUE));
        assertEquals(PinDesk.OK, call(unblock, unblock.present, NEW_VALUE));
        restore(unblock.changed, NEW_VALUE);
    }

    @Test
    void lengthsAreCountedInModifiedUtf8Bytes() throws IOException {
        Method change = Method.CHANGE_CNS_PIN;
        String present = change.present;
        for (String accepted : List.of("\u00e81\u00f22", "\u20ac\u20ac", "\ud83d\ude0012")) {
            assertEquals(PinDesk.OK, call(change, present, accepted));
            present = accepted;
        }
        assertEquals("EDA0BDEDB8803132", onCard(change.changed));
        for (String refused : List.of("\u00e8\u00e8", "\u00e8\u00e8\u00e8\u00e8\u00e8")) {
            assertEquals(PinDesk.NEW_CNS_PIN_LENGTH, call(change, present, refused));
        }
        restore(change.changed, present);
    }

    @ParameterizedTest
    @EnumSource
    void noReaderAndNoCard(Method method) {
        for (int slot : new int[] {0, -1, EMPTY_SLOT + 1, Integer.MAX_VALUE, Integer.MIN_VALUE}) {
            assertEquals(PinDesk.NO_READER, method.call.with(pinDesk, slot, "12345", NEW_VALUE));
        }
        assertEquals(PinDesk.NO_CARD, method.call.with(pinDesk, EMPTY_SLOT, "12345", NEW_VALUE));
    }

    @Test
    void fourThreadsTakeTurnsAtOneCard() {
        changes()
            .map(change -> CompletableFuture.runAsync(() -> {
                for (int i = 0; i < 5; i++) {
                    assertEquals(PinDesk.OK, call(change, change.present, NEW_VALUE));
                    assertEquals(PinDesk.OK, call(change, NEW_VALUE, change.present));
                }
            }))
            .toList()
            .forEach(CompletableFuture::join);
    }

    private static Stream<Method> changes() {
        return Stream.of(Method.values()).filter(method -> method.name().startsWith("CHANGE"));
    }

    private static Method changing(String secret) {
        return changes().filter(change -> change.changed.equals(secret)).findFirst().orElseThrow();
    }

    private long call(Method method, String present, String next) {
        return method.call.with(pinDesk, SLOT, present, next);
    }

    private void restore(String secret, String present) {
        Method change = changing(secret);
        assertEquals(PinDesk.OK, call(change, present, change.present));
    }

    /** The bytes that the card holds for a secret, in hexadecimal. */
    private static String onCard(String secret) throws IOException {
        String state = Files.readString(Path.of(System.getenv("PINDESK_CARD"), "state"));
        var value = Pattern.compile("\"name\": \"" + secret + "\"[^{}]*\"value\": \"([0-9A-F ]*)\"")
                        .matcher(state);
        assertEquals(true, value.find(), state);
        return value.group(1).replace(" ", "");
    }

    /** A value as the card holds it. */
    private static String padded(String value) {
        String hex =
            HexFormat.of().withUpperCase().formatHex(value.getBytes(StandardCharsets.UTF_8));
        return hex + "F".repeat(16 - hex.length());
    }
}
