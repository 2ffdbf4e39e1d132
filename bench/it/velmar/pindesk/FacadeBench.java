// SPDX-License-Identifier: Apache-2.0
//
// A check of a PIN from Java, three ways in one run: by the façade, by the native call alone, and
// by the virtual machine's own smart card classes with the same six commands. Over the in-process
// card:
//
//   ninja -C build/release facade-bench
//
// Both calls of the desk wait for threads of theirs; where other programs keep the machine busy,
// that waiting is what is measured, and "chrt -r 1" before the command keeps it out.

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
    private static final int ROUNDS = 31;
    private static final int CALLS = 100;

    private interface Work {
        void run() throws Exception;
    }

    private FacadeBench() {}

    /**
     * The medians of several rounds, in microseconds a call. Each round has a turn of every work,
     * so that what else the machine does meets them alike.
     */
    private static double[] measure(Work... works) throws Exception {
        double[][] rounds = new double[works.length][ROUNDS];
        for (int i = -2; i < ROUNDS; i++) { // two to get warm
            for (int k = 0; k < works.length; k++) {
                long start = System.nanoTime();
                for (int j = 0; j < CALLS; j++) {
                    works[k].run();
                }
                rounds[k][Math.max(i, 0)] = (System.nanoTime() - start) / 1000.0 / CALLS;
            }
        }
        double[] medians = new double[works.length];
        Arrays.setAll(medians, k -> median(rounds[k]));
        return medians;
    }

    private static double median(double[] times) {
        Arrays.sort(times);
        return times[times.length / 2];
    }

    /** That the works are the same ones for the card. */
    private static void check(Report report) {
        if (!report.done() || report.exchanges() != COMMANDS.length) {
            throw new IllegalStateException(report + ", " + report.exchanges() + " exchanges");
        }
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
            double[] times =
                measure(()
                            -> verifyByHand(terminal),
                        ()
                            -> check(call.runOn(handle)),
                        () -> check(desk.verify(Options.DEFAULT, Secret.CNS_PIN, PIN)));
            Native.close(handle);
            print("javax.smartcardio, the same commands", times[0], times[0]);
            print("the call of the C library", times[1], times[0]);
            print("the facade", times[2], times[0]);
            print("the facade / the call of the C library", times[2], times[1]);
        }
    }
}
