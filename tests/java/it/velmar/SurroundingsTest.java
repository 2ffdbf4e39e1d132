// SPDX-License-Identifier: Apache-2.0
//
// What a user is told when something around the class is missing; each in a virtual machine of its
// own, since the library is loaded once.

package it.velmar;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.nio.charset.StandardCharsets;
import java.nio.file.Path;
import java.util.concurrent.TimeUnit;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.Timeout;
import org.junit.jupiter.api.io.TempDir;

@Timeout(value = 120, unit = TimeUnit.SECONDS)
class SurroundingsTest {
    /** What the child runs: prints the result of each method, or why the class has none. */
    static final class Child {
        public static void main(String[] arguments) {
            try {
                PinDesk pinDesk = new PinDesk();
                for (Method method : Method.values()) {
                    System.out.println(method.call.with(pinDesk, 1, method.present, "12345"));
                }
            } catch (UnsatisfiedLinkError e) {
                System.out.println(e.getMessage());
            }
        }
    }

    @Test
    void withoutTheServiceEveryMethodSaysSo(@TempDir Path empty) throws Exception {
        var child = child(System.getProperty("java.library.path"));
        child.environment().put("PCSCLITE_CSOCK_NAME", empty.resolve("no.socket").toString());
        assertEquals((PinDesk.NO_CONTEXT + "\n").repeat(6), outputOf(child));
    }

    @Test
    void withoutTheLibraryTheErrorNamesItAndTheProperty(@TempDir Path empty) throws Exception {
        String message = outputOf(child(empty.toString()));
        for (String part : new String[] {"libpindesk.so", "java.library.path", empty.toString()}) {
            assertTrue(message.contains(part), message);
        }
    }

    private static ProcessBuilder child(String libraryPath) {
        Path java = Path.of(System.getProperty("java.home"), "bin", "java");
        return new ProcessBuilder(java.toString(), "-cp", System.getProperty("java.class.path"),
                                  "-Djava.library.path=" + libraryPath, Child.class.getName())
            .redirectErrorStream(true);
    }

    private static String outputOf(ProcessBuilder child) throws Exception {
        Process process = child.start();
        String output = new String(process.getInputStream().readAllBytes(), StandardCharsets.UTF_8);
        assertEquals(0, process.waitFor(), output);
        return output;
    }
}
