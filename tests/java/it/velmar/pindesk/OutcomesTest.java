// SPDX-License-Identifier: Apache-2.0
//
// The table of outcomes from Java, over the in-process card: the same as through C.

package it.velmar.pindesk;

import static org.junit.jupiter.api.Assertions.assertEquals;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.HashSet;
import java.util.List;
import java.util.Locale;
import java.util.Map;
import java.util.Set;
import java.util.stream.Stream;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.MethodSource;

class OutcomesTest {
    private static final char[] WRONG = "11111111".toCharArray();
    private static final Map<Secret, String> VALUES =
        Map.of(Secret.CNS_PIN, "12345678", Secret.CNS_PUK, "87654321", Secret.DS_PIN, "13572468",
               Secret.DS_PUK, "24681357");

    private final Set<String> variables = new HashSet<>();

    static Stream<String> rows() throws IOException {
        return Files
            .readAllLines(Path.of(System.getProperty("pindesk.source"), "tests/desk/outcomes.txt"))
            .stream()
            .filter(line -> !line.isEmpty() && !line.startsWith("#"));
    }

    @AfterEach
    void takeOut() {
        variables.forEach(name -> CardControl.variable(name, null));
    }

    @ParameterizedTest
    @MethodSource("rows")
    void areTheSameThroughEveryDoor(String row) {
        String[] columns = row.split("\\|");
        insert(columns[0].trim());
        try (Desk desk = Desk.open()) {
            prepare(desk, columns[1].trim());
            assertEquals(List.of(columns[3].trim().split(" ")),
                         call(desk, columns[2].trim().split(" +")));
        }
        assertEquals(0, CardControl.open());
    }

    private void insert(String card) {
        int equals = card.indexOf('=');
        if (equals > 0) {
            String name = "PINDESK_VCARD_" + card.substring(0, equals);
            variables.add(name);
            CardControl.variable(name, card.substring(equals + 1));
        }
        CardControl.restart();
    }

    private static void prepare(Desk desk, String step) {
        if (step.equals("lock")) {
            desk.lock(Options.DEFAULT);
        } else if (step.startsWith("keep=")) {
            Secret secret = secret(step.substring(5));
            desk.verify(Options.DEFAULT.keepVerified(), secret, VALUES.get(secret).toCharArray());
        } else if (!step.equals("-")) {
            int left = step.startsWith("last=") ? 1 : 0;
            Secret secret = secret(step.substring(step.indexOf('=') + 1));
            while (desk.verify(Options.DEFAULT.useLastTry(), secret, WRONG).triesLeft().getAsInt() >
                   left) {
            }
        }
    }

    private static List<String> call(Desk desk, String[] call) {
        try {
            Report report = make(desk, call);
            return List.of(name(report.outcome()), name(report.detail()),
                           report.triesLeft().isPresent() ? "" + report.triesLeft().getAsInt()
                                                          : "-",
                           name(report.inForce()),
                           report.state() == State.NOT_TOLD ? "unknown" : name(report.state()));
        } catch (IllegalArgumentException e) { // what other doors refuse with a report
            boolean isNew = e.getMessage().contains("new");
            boolean changes = call[0].equals("change");
            return List.of("refused", isNew ? "new_length" : "length", "-",
                           changes ? "old" : "not_concerned", "unknown");
        }
    }

    private static Report make(Desk desk, String[] call) {
        Options options = options(call[4]);
        Secret secret = secret(call[1]);
        char[] value = value(call[2]);
        char[] newValue = value(call[3]);
        switch (call[0]) {
        case "verify":
            return desk.verify(options, secret, value);
        case "change":
            return desk.change(options, secret, value, newValue);
        case "unblock":
            return desk.unblock(options, secret, value, newValue);
        case "lock":
            return desk.lock(options);
        case "reactivate":
            return desk.reactivate(options, value, newValue);
        default:
            return desk.unblockFamily(options, Operation.valueOf(call[0].toUpperCase(Locale.ROOT)),
                                      value, newValue);
        }
    }

    private static Options options(String flag) {
        switch (flag) {
        case "last":
            return Options.DEFAULT.useLastTry();
        case "any":
            return Options.DEFAULT.anyCharacters();
        case "plain":
            return Options.DEFAULT.withoutSecureMessaging();
        case "admin":
            return Options.DEFAULT.useAdminKey();
        default:
            return Options.DEFAULT;
        }
    }

    private static char[] value(String text) {
        return text.equals("-") ? null : text.toCharArray();
    }

    private static Secret secret(String name) {
        return Secret.valueOf(name.toUpperCase(Locale.ROOT).replace('-', '_'));
    }

    private static String name(Enum<?> constant) {
        return constant.name().toLowerCase(Locale.ROOT);
    }
}
