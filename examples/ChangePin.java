// SPDX-License-Identifier: Apache-2.0
//
// Lists the readers, shows the tries that are left, and changes the PIN of the authentication
// application. Values come from the terminal, or line by line from standard input.

import it.velmar.pindesk.*;
import java.io.BufferedReader;
import java.io.Console;
import java.io.IOException;
import java.io.InputStreamReader;
import java.util.Arrays;
import java.util.Locale;

public final class ChangePin {
    private static final BufferedReader INPUT =
        new BufferedReader(new InputStreamReader(System.in));

    private static char[] ask(String what) throws IOException {
        Console console = System.console();
        return console != null ? console.readPassword("%s: ", what)
                               : INPUT.readLine().toCharArray();
    }

    public static void main(String[] arguments) throws Exception {
        Locale locale = Locale.getDefault();
        try (Desk desk = Desk.open()) {
            desk.readers().forEach(System.out::println);
            Card card = desk.identify(Options.DEFAULT);
            for (SecretStatus status : desk.status(card)) {
                System.out.println(status.secret() + ": " + status.text(locale));
            }
            char[] oldPin = ask("PIN");
            char[] newPin = ask("New PIN");
            Report report = desk.change(card, Secret.CNS_PIN, oldPin, newPin);
            Arrays.fill(oldPin, ' ');
            Arrays.fill(newPin, ' ');
            System.out.println((report.message(locale) + " " + report.advice(locale)).trim());
        } catch (DeskException e) {
            System.out.println(e.report().message(locale) + " " + e.report().advice(locale));
        }
    }
}
