// SPDX-License-Identifier: Apache-2.0
//
// A check of a PIN from Java, three ways in one run: by the façade, by the native call alone, and
// by the virtual machine's own smart card classes with the same six commands. Over the in-process
// card:
//
//   ninja -C build/release facade-bench

package it.velmar.pindesk;

import java.util.Arrays;
import java.util.HexFormat;
import java.util.Locale;
import java.util.stream.Stream;
import javax.smartcardio.Card;
import javax.smartcardio.CardTerminal;
import javax.smartcardio.CommandAPDU;
import javax.smartcardio.TerminalFactory;

final class FacadeBench {
    private static final char[] PIN = "12345678".toCharArray();
    private static final byte[][] COMMANDS =
        Stream
            .of("00A408 0C02 3F00", "00A409 0C02 1000FF", "00A409 0C02 1003FF", "00B000 0010",
                "002000 9000", "002000 9008 3132333435363738")
            .map(hex -> HexFormat.of().parseHex(hex.replace(" ", "")))
            .toArray(byte[][] ::new);
    private static final int ROUNDS = 7;
    private static final int CALLS = 400;

    private interface Work {
        void run() throws Exception;
    }

    private FacadeBench() {}

    /** The median of several rounds, in microseconds a call. */
    private static double measure(Work work) throws Exception {
        double[] rounds = new double[ROUNDS];
        for (int i = -2; i < ROUNDS; i++) { // two to get warm
            long start = System.nanoTime();
            for (int j = 0; j < CALLS; j++) {
                work.run();
            }
            rounds[Math.max(i, 0)] = (System.nanoTime() - start) / 1000.0 / CALLS;
        }
        Arrays.sort(rounds);
        return rounds[ROUNDS / 2];
    }

    private static void verifyByHand(CardTerminal terminal) throws Exception {
        Card card = terminal.connect("*");
        card.beginExclusive();
        int sw = 0;
        for (byte[] command : COMMANDS) {
            sw = card.getBasicChannel().transmit(new CommandAPDU(command)).getSW();
        }
        if (sw != 0x9000) {
            throw new IllegalStateException(Integer.toHexString(sw));
        }
        card.endExclusive();
        card.disconnect(true);
    }

    private static void print(String what, double time, double reference) {
        System.out.printf(Locale.ROOT, "%-40s %8.1f us  %5.2f%n", what, time, time / reference);
    }

    public static void main(String[] arguments) throws Exception {
        CardTerminal terminal = TerminalFactory.getDefault().terminals().list().get(0);
        try (Desk desk = Desk.open()) {
            long handle = Native.open(0);
            Call call = new Call(Operation.VERIFY.number(), Options.DEFAULT)
                            .about(Operation.VERIFY, Secret.CNS_PIN)
                            .with(PIN, null);
            double byHand = measure(() -> verifyByHand(terminal));
            double byNative = measure(() -> call.runOn(handle));
            double byFacade = measure(() -> desk.verify(Options.DEFAULT, Secret.CNS_PIN, PIN));
            Native.close(handle);
            print("javax.smartcardio, the same commands", byHand, byHand);
            print("the call of the C library", byNative, byHand);
            print("the facade", byFacade, byHand);
            print("the facade / the call of the C library", byFacade, byNative);
        }
    }
}
