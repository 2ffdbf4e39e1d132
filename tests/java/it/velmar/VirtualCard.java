// SPDX-License-Identifier: Apache-2.0
//
// A fresh virtual card in the first reader of the pcscd around the tests, and what it knows.

package it.velmar;

import java.io.IOException;
import java.io.UncheckedIOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.time.Duration;
import java.time.Instant;
import java.util.List;
import java.util.concurrent.TimeUnit;
import java.util.regex.Pattern;

/** In its reader from the constructor to {@link #close}. */
final class VirtualCard implements AutoCloseable {
    /** The reader's position in the list of readers; the second slot of vpcd stays empty. */
    static final int SLOT = 1;

    static final int EMPTY_SLOT = 2;

    private static final String PROGRAM = System.getProperty("pindesk.vcard");
    private static final Duration LONGEST_WAIT = Duration.ofSeconds(30);

    private final PinDesk pinDesk;
    private final Path state;
    private final Process process;

    /**
     * Inserts a card that takes commands with its signature secrets under secure messaging only.
     */
    VirtualCard(PinDesk pinDesk) {
        this.pinDesk = pinDesk;
        try {
            state = Files.createTempFile("pindesk", ".json");
            Files.delete(state); // the card begins with its defaults and writes the file itself
            process =
                new ProcessBuilder(List.of(PROGRAM, "--require-sm", "--state", state.toString(),
                                           "--port", System.getenv("PINDESK_VPCD_PORT")))
                    .inheritIO()
                    .start();
        } catch (IOException e) {
            throw new UncheckedIOException(e);
        }
        await(PinDesk.OK);
    }

    /** Waits until a call that opens the card and does nothing gives this result. */
    private void await(long result) {
        Instant deadline = Instant.now().plus(LONGEST_WAIT);
        while (pinDesk.UnBlockPinCNS(SLOT, "", "") != result) {
            if (Instant.now().isAfter(deadline)) {
                process.destroy();
                throw new IllegalStateException("the reader does not come to " + result);
            }
            pause();
        }
    }

    /** The bytes that the card holds for a secret, in hexadecimal. */
    String value(String secret) {
        return field(secret, "\"value\": \"([0-9A-F ]*)\"").replace(" ", "");
    }

    int triesLeft(String secret) {
        return Integer.parseInt(field(secret, "\"tries_left\": (\\d+)"));
    }

    /** How often a value of the secret has reached the card. */
    int presented(String secret) {
        return Integer.parseInt(field(secret, "\"presented\": (\\d+)"));
    }

    private String field(String secret, String pattern) {
        String object = find("\\{[^{}]*\"name\": \"" + secret + "\"[^{}]*\\}", 0, stateText());
        return find(pattern, 1, object);
    }

    private static String find(String pattern, int group, String text) {
        var matcher = Pattern.compile(pattern).matcher(text);
        if (!matcher.find()) {
            throw new IllegalStateException("no " + pattern + " in " + text);
        }
        return matcher.group(group);
    }

    private String stateText() {
        try {
            return Files.readString(state);
        } catch (IOException e) {
            throw new UncheckedIOException(e);
        }
    }

    private static void pause() {
        try {
            TimeUnit.MILLISECONDS.sleep(50);
        } catch (InterruptedException e) {
            Thread.currentThread().interrupt();
            throw new IllegalStateException(e);
        }
    }

    /** Takes the card out, and waits until the service has noticed. */
    @Override
    public void close() {
        process.destroy();
        process.onExit().join();
        await(PinDesk.NO_CARD);
        state.toFile().delete();
    }
}
