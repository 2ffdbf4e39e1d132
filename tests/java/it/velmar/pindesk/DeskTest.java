// SPDX-License-Identifier: Apache-2.0
//
// What is Java's own about the desk, over the in-process card: arguments, threads, interruption,
// memory, the end.

package it.velmar.pindesk;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNotNull;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.sun.management.HotSpotDiagnosticMXBean;
import java.lang.management.ManagementFactory;
import java.net.URL;
import java.net.URLClassLoader;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.time.Duration;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Locale;
import java.util.Map;
import java.util.Set;
import java.util.TreeSet;
import java.util.concurrent.Callable;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;
import java.util.concurrent.TimeUnit;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import java.util.stream.Stream;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.Timeout;
import org.junit.jupiter.api.function.Executable;
import org.junit.jupiter.api.io.TempDir;

@Timeout(value = 120, unit = TimeUnit.SECONDS)
class DeskTest {
    private static final char[] PIN = "12345678".toCharArray();
    private static final int CALLS = Integer.getInteger("pindesk.calls", 3000);

    private Desk desk;

    @BeforeEach
    void open() {
        CardControl.restart();
        desk = Desk.open();
    }

    @AfterEach
    void close() {
        desk.close();
        CardControl.variable("PINDESK_VCARD_READER", null);
        CardControl.variable("PINDESK_VCARD2_READER", null);
        for (int i = 0; i < 50 && CardControl.open() > 0; i++) {
            pause(20); // a cancelled call gives back what it holds on its own thread
        }
        assertEquals(0, CardControl.open());
    }

    @Test
    void looksAtReadersCardAndSecrets() throws DeskException {
        Reader reader = desk.readers().get(0);
        assertTrue(reader.hasCard());
        Card card = desk.identify(reader);
        assertEquals("6200000000000001", card.serial().orElseThrow());
        assertEquals(desk.serial(reader), card.serial().orElseThrow());
        assertTrue(card.operations().contains(Operation.LOCK));
        List<SecretStatus> secrets = desk.status(card);
        assertEquals(3, secrets.get(0).triesLeft().getAsInt());
        assertEquals("3 tries are left", secrets.get(0).text(Locale.ENGLISH));
        assertFalse(secrets.get(0).text(Locale.ITALY).contains("left"));
        List<Event> events = new ArrayList<>();
        desk.watch((event, at) -> events.add(event) && events.size() < 2);
        desk.watch(Options.DEFAULT.waitForCard(Duration.ofMillis(100)),
                   (event, at) -> events.add(event));
        assertEquals(
            List.of(Event.READER_CAME, Event.CARD_CAME, Event.READER_CAME, Event.CARD_CAME),
            events);
        assertTrue(desk.verify(Options.DEFAULT.keepVerified(), Secret.CNS_PIN, PIN).done());
        assertEquals(State.VERIFIED, desk.status(card).get(0).state());
        assertEquals(State.READY, desk.status(card.options().resetFirst()).get(0).state());
        assertTrue(desk.doctor(Locale.ENGLISH).stream().noneMatch(f -> f.severity() > 1));
        assertTrue(desk.bundle(card).contains("\"exchanges\""));
        assertFalse(desk.bundle(card).contains(card.serial().orElseThrow()));
        CardControl.variable("PINDESK_VCARD_READER", "");
        CardControl.restart();
        List<String> found = new ArrayList<>();
        Report diagnosis = desk.doctor(Options.DEFAULT, Locale.ENGLISH, f -> found.add(f.id()));
        assertEquals(Outcome.NO_READER, diagnosis.outcome());
        assertTrue(found.contains("reader-none"), found.toString());
    }

    @Test
    void knowsWithoutACardWhatNumbersAndValuesMean() {
        assertEquals(6, Secret.DS_PIN.minLength());
        assertEquals(8, Secret.DS_PIN.maxLength());
        assertEquals("DS PIN", Secret.DS_PIN.title(Locale.ENGLISH));
        assertEquals(Outcome.WRONG_SECRET, Codes.outcome(-22));
        assertEquals(Next.CHECK_VALUE, Codes.next(-22));
        assertEquals("The CNS PIN was not accepted.", Codes.text(-22, Locale.ENGLISH));
        assertFalse(Codes.advice(-22, Locale.ITALY).isEmpty());
        assertFalse(Codes.statusWordText(0x6983, Locale.ENGLISH).isEmpty());
        assertFalse(Kind.VIRTUAL.text(Locale.ENGLISH).equals(Kind.VIRTUAL.text(Locale.ITALIAN)));
        assertFalse(Outcome.BLOCKED.text(Locale.ENGLISH).isEmpty());
        Report weak = Desk.checkValue(Options.DEFAULT, Secret.CNS_PIN, true, PIN);
        assertEquals(Weakness.RUN, weak.weakness());
        assertFalse(weak.weakness().text(Locale.ENGLISH).isEmpty());
        assertEquals(Detail.NEW_LENGTH,
                     Desk.checkValue(Options.DEFAULT, Secret.CNS_PIN, true, new byte[5]).detail());
    }

    @Test
    void refusesWhatNoCardShouldSeeBeforeAnythingIsSent() {
        Options any = Options.DEFAULT;
        byte[] shortKey = new byte[Options.KEY_SIZE - 1];
        Map<String, Executable> nulls =
            Map.of("target",
                   ()
                       -> desk.verify(null, Secret.CNS_PIN, PIN),
                   "secret",
                   ()
                       -> desk.check(any, Operation.CHANGE, null),
                   "value",
                   ()
                       -> desk.verify(any, Secret.CNS_PIN, (char[])null),
                   "newValue",
                   ()
                       -> desk.change(any, Secret.CNS_PIN, PIN, null),
                   "pin",
                   ()
                       -> desk.unblock(any, null, PIN, PIN),
                   "name",
                   ()
                       -> any.reader(null),
                   "key",
                   ()
                       -> any.smKey(null),
                   "time", () -> any.timeout(null), "locale", () -> desk.doctor(null));
        nulls.forEach(
            (name, call)
                -> assertEquals(name, assertThrows(NullPointerException.class, call).getMessage()));
        List<Executable> wrong =
            List.of(()
                        -> desk.verify(any, Secret.CNS_PIN, new char[4]),
                    ()
                        -> desk.verify(any, Secret.CNS_PIN, new byte[5000]),
                    ()
                        -> desk.change(any, Secret.CNS_PIN, PIN, new char[9]),
                    ()
                        -> desk.unblock(any, Secret.CNS_PUK, PIN, PIN),
                    ()
                        -> desk.unblockFamily(any, Operation.VERIFY, PIN, PIN),
                    ()
                        -> desk.setSmKey(shortKey),
                    ()
                        -> any.adminKey(shortKey),
                    () -> any.slot(0), () -> any.timeout(Duration.ofSeconds(-1)));
        wrong.forEach(call -> assertThrows(IllegalArgumentException.class, call));
        assertEquals(Detail.CHARACTERS,
                     desk.verify(any, Secret.CNS_PIN, "1234567\u00e0".toCharArray()).detail());
    }

    @Test
    void tellsAWrongKeyFromAWrongPinAndForgetsIt() {
        byte[] key = new byte[Options.KEY_SIZE];
        Arrays.fill(key, (byte)0x31);
        char[] pin = "13572468".toCharArray();
        assertEquals(Outcome.SECURE_MESSAGING_REFUSED,
                     desk.verify(Options.DEFAULT.smKey(key), Secret.DS_PIN, pin).outcome());
        desk.setSmKey(key);
        assertEquals(Outcome.SECURE_MESSAGING_REFUSED,
                     desk.verify(Options.DEFAULT, Secret.DS_PIN, pin).outcome());
        desk.setSmKey(null);
        assertTrue(desk.verify(Options.DEFAULT, Secret.DS_PIN, pin).done());
        assertThrows(DeskException.class, () -> desk.loadSmKey(Path.of("/nonexistent")));
    }

    @Test
    void anInterruptEndsTheWaitingAndAnExceptionOfAListenerComesThrough() throws Exception {
        CardControl.variable("PINDESK_VCARD_READER", "");
        CardControl.restart();
        Options patient = Options.DEFAULT.waitForCard(Options.FOREVER);
        Thread caller = Thread.currentThread();
        Thread interrupter = new Thread(() -> {
            pause(300);
            caller.interrupt();
        });
        interrupter.start();
        Report report = desk.verify(patient, Secret.CNS_PIN, PIN);
        assertTrue(Thread.interrupted());
        assertEquals(Detail.CANCELLED, report.detail());
        assertEquals(0, report.secretsSent());
        interrupter.join();

        Report late =
            desk.verify(Options.DEFAULT.waitForCard(Duration.ofMillis(200)), Secret.CNS_PIN, PIN);
        assertEquals(Outcome.NO_READER, late.outcome());
        Options listening =
            patient.onWaiting(soFar -> { throw new IllegalStateException("enough"); });
        Thread stop = new Thread(() -> {
            pause(3500);
            caller.interrupt();
        });
        stop.start();
        assertEquals("enough", assertThrows(IllegalStateException.class,
                                            () -> desk.verify(listening, Secret.CNS_PIN, PIN))
                                   .getMessage());
        stop.join();
        Thread.interrupted();
    }

    @Test
    void endsItsCallsWhenItIsCancelledOrClosedMeanwhile() throws Exception {
        CardControl.variable("PINDESK_VCARD_READER", "");
        CardControl.restart();
        Options patient = Options.DEFAULT.waitForCard(Options.FOREVER);
        List<Runnable> ends = List.of(desk::cancel, desk::close);
        for (Runnable end : ends) {
            CompletableFuture<Report> call =
                CompletableFuture.supplyAsync(() -> desk.verify(patient, Secret.CNS_PIN, PIN));
            pause(300);
            end.run();
            assertEquals(Detail.CANCELLED, call.get().detail());
        }
    }

    @Test
    void servesManyThreadsOnTwoReadersAndClosesTwice() throws Exception {
        CardControl.variable("PINDESK_VCARD2_READER", "Another Reader");
        CardControl.restart();
        ExecutorService threads = Executors.newFixedThreadPool(8);
        Callable<Long> verifications = ()
            -> Stream.of("PinDesk", "Another")
                   .filter(name
                           -> desk.verify(Options.DEFAULT.reader(name), Secret.CNS_PIN, PIN).done())
                   .count();
        List<Callable<Long>> work = new ArrayList<>();
        for (int i = 0; i < 24; i++) {
            work.add(verifications);
        }
        for (Future<Long> done : threads.invokeAll(work)) {
            assertEquals(2, done.get());
        }
        threads.shutdown();
        assertThrows(IllegalStateException.class, () -> desk.watch((event, at) -> {
            desk.close();
            return true;
        }));
        desk.close();
        desk.close();
        assertThrows(IllegalStateException.class, () -> desk.readers());
    }

    @Test
    void memoryAndDescriptorsStayFlatOverManyCalls() throws Exception {
        for (int i = 0; i < CALLS; i++) { // until pools and caches have their size
            assertTrue(desk.verify(Options.DEFAULT, Secret.CNS_PIN, PIN).done());
        }
        long[] before = {resident(), descriptors()};
        for (int i = 0; i < CALLS; i++) {
            assertTrue(desk.verify(Options.DEFAULT, Secret.CNS_PIN, PIN).done());
        }
        System.gc();
        assertTrue(resident() - before[0] < 64 << 20, before[0] + " bytes became " + resident());
        assertTrue(descriptors() <= before[1] + 2);
    }

    @Test
    void noSecretIsLeftInTheHeap(@TempDir Path directory) throws Exception {
        char[] first = canary("71939");
        char[] second = canary("28463");
        byte[] key = new byte[Options.KEY_SIZE];
        for (int i = 0; i < key.length; i++) {
            key[i] = (byte)(i * i * 37 + 11);
        }
        desk.setSmKey(key);
        desk.setSmKey(null);
        desk.verify(Options.DEFAULT.smKey(key), Secret.DS_PIN, first);
        desk.change(Options.DEFAULT, Secret.CNS_PIN, first, second);
        desk.verify(Options.DEFAULT, Secret.CNS_PIN, bytes(second));
        assertThrows(IllegalArgumentException.class,
                     () -> desk.change(Options.DEFAULT, Secret.CNS_PIN, first, new char[9]));
        List<byte[]> forms = new ArrayList<>();
        for (char[] value : List.of(first, second)) {
            forms.add(bytes(value));
            forms.add(new String(value).getBytes(StandardCharsets.UTF_16BE));
        }
        Arrays.fill(first, '0');
        Arrays.fill(second, '0');
        forms.add(key.clone());
        Arrays.fill(key, (byte)0);
        Path dump = directory.resolve("heap.hprof");
        for (byte[] form : forms) { // searched for by what they are not: each byte turned
            turn(form);
        }
        ManagementFactory.getPlatformMXBean(HotSpotDiagnosticMXBean.class)
            .dumpHeap(dump.toString(), true);
        byte[] heap = Files.readAllBytes(dump);
        byte[] marker = "memoryAndDescriptorsStayFlat".getBytes(StandardCharsets.US_ASCII);
        turn(marker);
        assertTrue(holds(heap, marker)); // the search finds what is there
        for (byte[] form : forms) {
            assertFalse(holds(heap, form));
        }
    }

    @Test
    void aSecondClassLoaderIsToldWhyItCannotHaveTheLibrary() throws Exception {
        assertNotNull(desk);
        URL jar = Desk.class.getProtectionDomain().getCodeSource().getLocation();
        try (URLClassLoader second =
                 new URLClassLoader(new URL[] {jar}, ClassLoader.getPlatformClassLoader())) {
            Object other = second.loadClass(Desk.class.getName()).getMethod("open");
            Throwable thrown = assertThrows(java.lang.reflect.InvocationTargetException.class,
                                            () -> ((java.lang.reflect.Method)other).invoke(null));
            assertTrue(thrown.getCause().getMessage().contains("another class loader"),
                       thrown.getCause().getMessage());
        }
    }

    /** Names and numbers of the constants in C and in Java, and what calls what. */
    @Test
    void hasTheConstantsAndTheFunctionsOfTheLibrary() throws Exception {
        Path source = Path.of(System.getProperty("pindesk.source"));
        String header = Files.readString(source.resolve("pindesk/desk.h"));
        Map<String, Numbered[]> kinds =
            Map.of("",
                   Stream.of(Outcome.values(), Secret.values(), Event.values())
                       .flatMap(Stream::of)
                       .toArray(Numbered[] ::new),
                   "DETAIL_", Detail.values(), "NEXT_", Next.values(), "OP_", Operation.values(),
                   "STATE_", State.values(), "IN_FORCE_", InForce.values(), "WEAKNESS_",
                   Weakness.values(), "KIND_", Kind.values(), "NOTE_", Note.values());
        Set<String> inJava = new TreeSet<>();
        kinds.forEach(
            (prefix, constants)
                -> Stream.of(constants).forEach(c -> inJava.add(prefix + c + " " + c.number())));
        Map.of("USE_LAST_TRY", Options.USE_LAST_TRY, "ANY_CHARACTERS", Options.ANY_CHARACTERS,
               "KEEP_VERIFIED", Options.KEEP_VERIFIED, "NO_SECURE_MESSAGING",
               Options.NO_SECURE_MESSAGING, "USE_ADMIN_KEY", Options.USE_ADMIN_KEY, "RESET_FIRST",
               Options.RESET_FIRST)
            .forEach((name, flag) -> inJava.add(name + " " + Integer.numberOfTrailingZeros(flag)));
        Set<String> inC = new TreeSet<>();
        Matcher constant =
            Pattern.compile("PINDESK_([A-Z0-9_]+)\\s*=\\s*(?:1 << )?([0-9]+)").matcher(header);
        while (constant.find()) {
            inC.add(constant.group(1) + " " + constant.group(2));
        }
        inC.removeIf(c -> c.startsWith("KEY_"));
        Set<String> inCAlone = new TreeSet<>(inC);
        inCAlone.removeAll(inJava);
        inJava.removeAll(inC);
        assertEquals("C: [], Java: []", "C: " + inCAlone + ", Java: " + inJava);

        String natives = Files.readString(source.resolve("desk/desk_jni.cpp"));
        Matcher function =
            Pattern.compile("PINDESK_API [^;(]*?(pindesk_[a-z_]+)\\(").matcher(header);
        while (function.find()) {
            assertTrue(function.group(1).endsWith("_name") || natives.contains(function.group(1)),
                       function.group(1));
        }
    }

    private static void pause(long milliseconds) {
        try {
            Thread.sleep(milliseconds);
        } catch (InterruptedException e) {
            Thread.currentThread().interrupt();
        }
    }

    private static long resident() throws Exception {
        return Long.parseLong(Files.readString(Path.of("/proc/self/statm")).split(" ")[1]) * 4096;
    }

    private static long descriptors() throws Exception {
        try (Stream<Path> open = Files.list(Path.of("/proc/self/fd"))) {
            return open.count();
        }
    }

    /** Eight digits that stand nowhere else in the program. */
    private static char[] canary(String seed) {
        char[] value = new char[8];
        for (int i = 0; i < value.length; i++) {
            value[i] = (char)('0' + (seed.charAt(i % seed.length()) * 7 + i * i) % 10);
        }
        return value;
    }

    private static byte[] bytes(char[] value) {
        byte[] bytes = new byte[value.length];
        for (int i = 0; i < value.length; i++) {
            bytes[i] = (byte)value[i];
        }
        return bytes;
    }

    private static void turn(byte[] bytes) {
        for (int i = 0; i < bytes.length; i++) {
            bytes[i] ^= 0x55;
        }
    }

    private static boolean holds(byte[] heap, byte[] turned) {
        for (int i = 0; i + turned.length <= heap.length; i++) {
            int same = 0;
            while (same < turned.length && (heap[i + same] ^ 0x55) == turned[same]) {
                same++;
            }
            if (same == turned.length) {
                return true;
            }
        }
        return false;
    }
}
