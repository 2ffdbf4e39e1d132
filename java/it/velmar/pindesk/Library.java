// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

import java.io.IOException;
import java.io.InputStream;
import java.net.URISyntaxException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.CodeSource;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Locale;
import java.util.stream.Collectors;
import java.util.stream.Stream;

/**
 * Finds and loads the native library: where {@code -Dpindesk.library=} says, beside the jar, in the
 * folders of {@code java.library.path}, or in Debian's folders for such libraries.
 */
final class Library {
    private static final String PROPERTY = "pindesk.library";
    private static final List<String> NAMES = List.of("libpindesk.so", "libpindesk.so.1");
    private static final Path DEBIAN = Path.of("/usr/lib");
    private static final byte[] ELF = {0x7F, 'E', 'L', 'F'};
    private static final Path JAVA = Path.of("/proc/self/exe");

    private Library() {}

    static void load() {
        String chosen = System.getProperty(PROPERTY);
        List<Path> places = chosen != null ? List.of(Path.of(chosen)) : places();
        List<Path> files =
            places.stream().filter(Files::isRegularFile).collect(Collectors.toList());
        Path file = files.stream()
                        .filter(Library::isForThisMachine)
                        .findFirst()
                        .or(() -> files.stream().findFirst())
                        .orElseThrow(() -> missing(places));
        try {
            System.load(file.toAbsolutePath().toString());
        } catch (UnsatisfiedLinkError e) {
            throw explained(file, e);
        }
        checkVersion(file);
    }

    private static UnsatisfiedLinkError missing(List<Path> places) {
        String names = places.stream().map(Path::toString).collect(Collectors.joining(", "));
        return new UnsatisfiedLinkError("libpindesk.so is missing; looked for " + names + "; -D" +
                                        PROPERTY + "= says where it is");
    }

    /** Of another version the answers would be read wrongly, perhaps after a PIN was changed. */
    private static void checkVersion(Path file) {
        String version = Native.text(Native.VERSION, null, 0, Locale.ROOT);
        try (InputStream own = Library.class.getResourceAsStream("version")) {
            String expected = new String(own.readAllBytes(), StandardCharsets.UTF_8).strip();
            if (!version.equals(expected)) {
                throw new UnsatisfiedLinkError(file + " is of version " + version +
                                               ", the jar of version " + expected);
            }
        } catch (IOException e) {
            throw new UnsatisfiedLinkError("the jar cannot be read: " + e.getMessage());
        }
    }

    private static List<Path> places() {
        List<Path> folders = new ArrayList<>();
        besideTheJar(folders);
        for (String folder : System.getProperty("java.library.path", "").split(":")) {
            if (!folder.isEmpty()) {
                folders.add(Path.of(folder));
            }
        }
        debian(folders);
        return folders.stream()
            .flatMap(folder -> NAMES.stream().map(folder::resolve))
            .collect(Collectors.toList());
    }

    private static void besideTheJar(List<Path> folders) {
        CodeSource source = Library.class.getProtectionDomain().getCodeSource();
        if (source == null || source.getLocation() == null) {
            return;
        }
        try {
            Path jar = Path.of(source.getLocation().toURI());
            folders.add(jar.toAbsolutePath().getParent());
        } catch (URISyntaxException | IllegalArgumentException e) {
            return; // the classes do not come from a file: there is no such folder
        }
    }

    /** One folder for each architecture that is installed. */
    private static void debian(List<Path> folders) {
        try (Stream<Path> architectures = Files.list(DEBIAN)) {
            architectures.filter(path -> path.toString().contains("-linux-gnu"))
                .sorted()
                .forEach(path -> {
                    folders.add(path.resolve("jni"));
                    folders.add(path);
                });
        } catch (IOException e) {
            return; // no such system
        }
    }

    private static boolean isForThisMachine(Path file) {
        return machine(file).equals(machine(JAVA));
    }

    /** Word size, byte order and processor, from the header of a program; empty if it is none. */
    private static String machine(Path file) {
        byte[] header = new byte[20];
        try (InputStream in = Files.newInputStream(file)) {
            boolean isProgram = in.readNBytes(header, 0, header.length) == header.length &&
                                Arrays.equals(header, 0, 4, ELF, 0, 4);
            return isProgram
                ? Arrays.toString(new byte[] {header[4], header[5], header[18], header[19]})
                : "";
        } catch (IOException e) {
            return "";
        }
    }

    private static UnsatisfiedLinkError explained(Path file, UnsatisfiedLinkError cause) {
        String said = String.valueOf(cause.getMessage());
        String why = said;
        if (said.contains("already loaded in another classloader")) {
            why = "it is already loaded by another class loader of this process: load "
                  + "it.velmar.pindesk by one that both share";
        } else if (machine(file).isEmpty()) {
            why = "it is no library, or cannot be read: " + said;
        } else if (!isForThisMachine(file)) {
            why = "it is made for another machine than this Java (" +
                  System.getProperty("os.arch") + "): " + said;
        } else if (said.contains("cannot open shared object file")) {
            why = "a library that it needs is missing: " + said;
        }
        UnsatisfiedLinkError explained =
            new UnsatisfiedLinkError(file + " cannot be loaded: " + why);
        explained.initCause(cause);
        return explained;
    }
}
