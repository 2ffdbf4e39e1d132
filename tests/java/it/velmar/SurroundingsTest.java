// SPDX-License-Identifier: Apache-2.0
//
// What a user is told when something around the class is missing; each in a virtual machine of its
// own, since the library is loaded once.

package it.velmar;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import it.velmar.pindesk.Desk;
import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.TimeUnit;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.Timeout;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.EnumSource;

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

    /** The same for the desk. */
    static final class DeskChild {
        public static void main(String[] arguments) {
            try {
                Desk.open().close();
                System.out.println("loaded " + Desk.version());
            } catch (UnsatisfiedLinkError e) {
                System.out.println(e.getMessage());
            }
        }
    }

    @Test
    void withoutTheServiceEveryMethodSaysSo(@TempDir Path empty) throws Exception {
        var child =
            child(Child.class, "-Djava.library.path=" + System.getProperty("java.library.path"));
        child.environment().put("PCSCLITE_CSOCK_NAME", empty.resolve("no.socket").toString());
        assertEquals((PinDesk.NO_CONTEXT + "\n").repeat(6), outputOf(child));
    }

    @Test
    void withoutTheLibraryTheErrorNamesItAndTheProperty(@TempDir Path empty) throws Exception {
        String message = outputOf(child(Child.class, "-Djava.library.path=" + empty));
        for (String part : new String[] {"libpindesk.so", "java.library.path", empty.toString()}) {
            assertTrue(message.contains(part), message);
        }
    }

    /** What is wrong with a library, and what the message has to name beside the file. */
    enum Wrong {
        MISSING("is missing") {
            @Override
            void make(Path file, byte[] library) {}
        },
        NO_LIBRARY("it is no library") {
            @Override
            void make(Path file, byte[] library) throws IOException {
                Files.writeString(file, "a text that is long enough for a header");
            }
        },
        OTHER_MACHINE("it is made for another machine") {
            @Override
            void make(Path file, byte[] library) throws IOException {
                library[18] ^= 1; // e_machine
                Files.write(file, library);
            }
        };

        final String said;

        Wrong(String said) { this.said = said; }

        abstract void make(Path file, byte[] library) throws IOException;
    }

    @ParameterizedTest
    @EnumSource
    void aLibraryThatCannotBeLoadedIsNamedWithTheCause(Wrong wrong, @TempDir Path directory)
        throws Exception {
        Path file = directory.resolve("libpindesk.so");
        wrong.make(file, Files.readAllBytes(library()));
        String message = outputOf(child(DeskChild.class, "-Dpindesk.library=" + file));
        assertTrue(message.contains(file.toString()) && message.contains(wrong.said), message);
    }

    /**
     * Beside the jar, where also one of another machine lies; the jar's version is the library's.
     */
    @Test
    void theLibraryIsFoundBesideTheJarAndBelongsToIt(@TempDir Path directory) throws Exception {
        Path jar = directory.resolve("pindesk.jar");
        Files.copy(Path.of(Desk.class.getProtectionDomain().getCodeSource().getLocation().toURI()),
                   jar);
        byte[] library = Files.readAllBytes(library());
        Files.write(directory.resolve("libpindesk.so.1"), library);
        Wrong.OTHER_MACHINE.make(directory.resolve("libpindesk.so"), library);
        String classPath = jar + ":" + System.getProperty("java.class.path");
        assertTrue(outputOf(child(DeskChild.class, "-cp", classPath)).startsWith("loaded 1."));

        Path older = directory.resolve("it/velmar/pindesk/version");
        Files.createDirectories(older.getParent());
        Files.writeString(older, "0.9.0");
        String message = outputOf(child(DeskChild.class, "-cp", directory + ":" + classPath));
        assertTrue(message.contains("the jar of version 0.9.0"), message);
    }

    private static Path library() {
        return Path.of(System.getProperty("java.library.path"), "libpindesk.so");
    }

    private static ProcessBuilder child(Class<?> main, String... options) {
        List<String> command = new ArrayList<>();
        command.add(Path.of(System.getProperty("java.home"), "bin", "java").toString());
        command.addAll(List.of("-cp", System.getProperty("java.class.path")));
        command.addAll(List.of(options));
        command.add(main.getName());
        return new ProcessBuilder(command).redirectErrorStream(true);
    }

    private static String outputOf(ProcessBuilder child) throws Exception {
        Process process = child.start();
        String output = new String(process.getInputStream().readAllBytes(), StandardCharsets.UTF_8);
        assertEquals(0, process.waitFor(), output);
        return output;
    }
}
