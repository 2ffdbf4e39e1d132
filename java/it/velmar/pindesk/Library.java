// SPDX-License-Identifier: Apache-2.0

package it.velmar.pindesk;

import java.io.IOException;
import java.net.URISyntaxException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.CodeSource;
import java.util.ArrayList;
import java.util.List;
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

    private Library() {}

    static void load() {
        String chosen = System.getProperty(PROPERTY);
        List<Path> places = chosen != null ? List.of(Path.of(chosen)) : places();
        Path file =
            places.stream()
                .filter(Files::isRegularFile)
                .findFirst()
                .orElseThrow(()
                                 -> new UnsatisfiedLinkError(
                                     "libpindesk.so is missing; looked for " + names(places) +
                                     "; -D" + PROPERTY + "= says where it is"));
        try {
            System.load(file.toAbsolutePath().toString());
        } catch (UnsatisfiedLinkError e) {
            throw explained(file, e);
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

    /** One folder for each architecture, all of them: the wrong ones are not there to be found. */
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

    private static String names(List<Path> places) {
        return places.stream().map(Path::toString).collect(Collectors.joining(", "));
    }

    private static UnsatisfiedLinkError explained(Path file, UnsatisfiedLinkError cause) {
        String said = String.valueOf(cause.getMessage());
        String why = said;
        if (said.contains("already loaded in another classloader")) {
            why = "it is already loaded by another class loader of this process: load "
                  + "it.velmar.pindesk by one that both share";
        } else if (said.contains("wrong ELF class") || said.contains("invalid ELF header") ||
                   said.contains("Possible cause")) {
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
