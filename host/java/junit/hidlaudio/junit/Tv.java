// SPDX-License-Identifier: Apache-2.0
package hidlaudio.junit;

import hidlaudio.runtime.TvFolder;
import java.io.IOException;
import java.io.UncheckedIOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.time.Duration;
import java.util.ArrayList;
import java.util.Comparator;
import java.util.List;
import java.util.Map;
import java.util.OptionalLong;
import java.util.Set;
import java.util.concurrent.ConcurrentHashMap;
import java.util.concurrent.ConcurrentLinkedQueue;
import java.util.function.BooleanSupplier;

/**
 * A virtual TV in a folder of its own. Services are looked up on it by the thread that created it, by threads
 * that this thread creates, and in callbacks.
 */
public final class Tv implements AutoCloseable {
    /** The audio HAL and the daemon, in the order in which they are started. */
    public static final List<String> PROGRAMS = List.of("audio_hal", "hidlaudio");

    private static final Duration TIME_OUT = Duration.ofSeconds(10);
    // The functions of the audio HAL, among those that can be made to fail.
    private static final Set<String> HAL_FUNCTIONS = Set.of("openPrimaryDevice", "setParameters", "getParameters");
    private static final Map<String, Tv> OPEN = new ConcurrentHashMap<>();
    private static final Set<String> CLOSED = ConcurrentHashMap.newKeySet(); // the folders of earlier TVs

    private final Path path;
    private final TvKeeper keeper;
    private final Map<String, Long> running = new ConcurrentHashMap<>();
    private final Set<String> mayEnd = ConcurrentHashMap.newKeySet();
    private final Set<String> dying = ConcurrentHashMap.newKeySet(); // programs that a fault may kill
    private final Set<String> unexpectedEnds = ConcurrentHashMap.newKeySet();
    private final ConcurrentLinkedQueue<Throwable> callbackErrors = new ConcurrentLinkedQueue<>();
    private final String before; // the TV that the creating thread used
    private int clock;

    /** Creates a TV and boots it, unless the options have {@code boot = false}. */
    public Tv(TvOptions options) {
        keeper = new TvKeeper();
        path = keeper.folder().resolve("tv").toAbsolutePath().normalize(); // as TvFolder names it
        clock = options.clock();
        OPEN.put(path.toString(), this);
        before = TvFolder.open(path);
        try {
            List<String> init = new ArrayList<>(List.of("init", "--model", options.model()));
            if (options.centreInput()) {
                init.add("--centre-input");
            }
            command(init.toArray(new String[0]));
            for (String fault : options.faults()) {
                addFault(fault.trim().split("\\s+"));
            }
            if (options.boot()) {
                boot(options.callFaults());
            }
        } catch (RuntimeException failed) {
            close();
            throw failed;
        }
    }

    /** Returns the TV's folder. */
    public Path path() {
        return path;
    }

    /** Starts the programs that are not running. Returns when their services are registered. */
    public void boot() {
        boot("");
    }

    /** Starts them with system calls that fail, such as "write:3:ENOSPC"; see hidlaudio(8). */
    public void boot(String callFaults) {
        run(callFaults, "boot", "--background");
        for (String program : PROGRAMS) {
            pid(program).ifPresent(pid -> running.put(program, pid));
            mayEnd.remove(program);
        }
    }

    /** Stops the programs. */
    public void shutdown() {
        mayEnd.addAll(PROGRAMS);
        command("shutdown");
    }

    public void reboot() {
        shutdown();
        boot();
    }

    /** Sets the speed of the programs' sleeps and timers, from the next start on. */
    public void setClock(int speed) {
        clock = speed;
    }

    /** Kills a program and waits for its end. */
    public void kill(String program) {
        long pid = pidOf(program);
        mayEnd.add(program);
        ProcessHandle.of(pid).ifPresent(ProcessHandle::destroyForcibly);
        waitUntil(program + " has not ended", () -> !isRunning(pid));
    }

    /** Stops a program, which keeps its memory and connections, until {@link #resume}. */
    public void pause(String program) {
        signal(program, "-STOP");
    }

    public void resume(String program) {
        signal(program, "-CONT");
    }

    /** Allows a program to end until it is started again. */
    public void expectEnd(String program) {
        mayEnd.add(program);
    }

    /** Returns the process of a program, or nothing if it is not running. */
    public OptionalLong pid(String program) {
        String key = "\"" + program + "\": ";
        String state = state();
        int start = state.indexOf(key, state.indexOf("\"programs\"")) + key.length();
        int end = start;
        while (Character.isDigit(state.charAt(end))) {
            end++;
        }
        return start == end ? OptionalLong.empty() : OptionalLong.of(Long.parseLong(state.substring(start, end)));
    }

    /** Makes a function of the middleware, libpower or the audio HAL return a status. */
    public void fault(String function, int status) {
        addFault(function, Integer.toString(status));
    }

    /**
     * Makes a function fail. The arguments are those of {@code tv fault}: the function; a status,
     * {@code delay=MILLISECONDS} or {@code dies}; the number of calls that fail; the number that succeed before.
     */
    public void addFault(String... arguments) {
        if (arguments.length > 1 && arguments[1].equals("dies")) {
            dying.add(HAL_FUNCTIONS.contains(arguments[0]) ? "audio_hal" : "hidlaudio");
        }
        List<String> command = new ArrayList<>(List.of("fault", "--"));
        command.addAll(List.of(arguments));
        command(command.toArray(new String[0]));
    }

    public void clearFaults() {
        command("fault", "--clear");
        noteEnds();
        dying.clear();
    }

    /** Returns a number of the configuration store of the middleware. */
    public int config(String key) {
        return Integer.parseInt(command("config", key).trim());
    }

    public void setConfig(String key, int value) {
        command("config", "--", key, Integer.toString(value));
    }

    /** Returns the content of a file below the TV's folder. */
    public byte[] file(String name) {
        try {
            return Files.readAllBytes(path.resolve(name));
        } catch (IOException missing) {
            throw new UncheckedIOException(missing);
        }
    }

    /** Replaces a file below the TV's folder. Null deletes it. */
    public void setFile(String name, byte[] content) {
        Path file = path.resolve(name);
        try {
            if (content == null) {
                Files.deleteIfExists(file);
            } else {
                Files.createDirectories(file.getParent());
                Files.write(file, content);
            }
        } catch (IOException failed) {
            throw new UncheckedIOException(failed);
        }
    }

    /** Returns the state of the TV, as {@code tv show --json} prints it. */
    public String state() {
        return command("show", "--json");
    }

    /** Returns the lines of both logs, each with the program's name, in the order of time. */
    public List<String> log() {
        List<String> lines = new ArrayList<>();
        for (String program : PROGRAMS) {
            String file = "log/" + program + ".log";
            if (Files.exists(path.resolve(file))) {
                String text = new String(file(file), StandardCharsets.UTF_8);
                text.lines().map(line -> line + "  [" + program + "]").forEach(lines::add);
            }
        }
        lines.sort(Comparator.comparing(Tv::timeOf));
        return lines;
    }

    /** Waits until a line of the log after the first {@code skip} ones contains a text. Returns that line. */
    public String waitForLog(String text, int skip) {
        String[] found = new String[1];
        waitUntil("no log line with '" + text + "'", () -> {
            found[0] = log().stream().skip(skip).filter(line -> line.contains(text)).findFirst().orElse(null);
            return found[0] != null;
        });
        return found[0];
    }

    public String waitForLog(String text) {
        return waitForLog(text, 0);
    }

    /** Waits until a condition holds, for ten seconds at most. */
    public static void waitUntil(String otherwise, BooleanSupplier condition) {
        long end = System.nanoTime() + TIME_OUT.toNanos();
        while (!condition.getAsBoolean()) {
            if (System.nanoTime() > end) {
                throw new AssertionError(otherwise + " within " + TIME_OUT.toSeconds() + " s");
            }
            sleepBriefly();
        }
    }

    /** Runs a command of {@code tv}. Returns its output. */
    public String command(String... arguments) {
        return run("", arguments);
    }

    /** Returns the exceptions that callbacks have thrown, and forgets them. */
    public List<Throwable> takeCallbackErrors() {
        List<Throwable> taken = new ArrayList<>();
        for (Throwable error = callbackErrors.poll(); error != null; error = callbackErrors.poll()) {
            taken.add(error);
        }
        return taken;
    }

    /** Returns the programs that have ended although the test did not cause it, once each. */
    List<String> takeUnexpectedEnds() {
        noteEnds();
        List<String> ended = List.copyOf(unexpectedEnds);
        unexpectedEnds.clear();
        return ended;
    }

    private void noteEnds() {
        running.forEach((program, pid) -> {
            if (!isRunning(pid) && mayEnd.add(program) && !dying.contains(program)) {
                unexpectedEnds.add(program);
            }
        });
    }

    /**
     * Records the exception of a callback. If the TV is closed, its test has ended: the exception is printed, but
     * must not end the virtual machine, which runs other tests. Returns false for all other folders and null.
     */
    static boolean recordCallbackError(String folder, Throwable error) {
        if (folder == null) {
            return false;
        }
        Tv tv = OPEN.get(folder);
        if (tv != null) {
            return tv.callbackErrors.add(error);
        }
        if (!CLOSED.contains(folder)) {
            return false;
        }
        System.err.println("Uncaught exception in a callback of a closed TV:");
        error.printStackTrace();
        return true;
    }

    /** Stops the programs and deletes the folder. */
    @Override
    public void close() {
        CLOSED.add(path.toString()); // before the removal, so that one of the two always contains the folder
        OPEN.remove(path.toString());
        TvFolder.close(path, before);
        keeper.close();
    }

    private String run(String callFaults, String... arguments) {
        List<String> command = new ArrayList<>(List.of(keeper.program(), "--tv", path.toString()));
        command.addAll(List.of(arguments));
        ProcessBuilder builder = new ProcessBuilder(command);
        Map<String, String> environment = builder.environment();
        environment.keySet().removeIf(name -> name.startsWith("HIDLAUDIO_"));
        if (clock != 1) {
            environment.put("HIDLAUDIO_CLOCK", Integer.toString(clock));
        }
        if (!callFaults.isEmpty()) {
            environment.put("HIDLAUDIO_FAULT", callFaults);
        }
        return output(builder);
    }

    private void signal(String program, String signal) {
        output(new ProcessBuilder("kill", signal, Long.toString(pidOf(program))));
    }

    private long pidOf(String program) {
        return pid(program).orElseThrow(() -> new TvException(program + " is not running"));
    }

    /**
     * Returns whether a process runs. A program of the TV belongs to process 1 or another subreaper, which may never
     * wait for it: then it stays in the process table when it has ended, and ProcessHandle regards it as alive.
     */
    private static boolean isRunning(long pid) {
        String status;
        try {
            status = Files.readString(Path.of("/proc/" + pid + "/stat"), StandardCharsets.ISO_8859_1);
        } catch (IOException ended) {
            return false;
        }
        // The program's name in parentheses may contain spaces and parentheses.
        String[] fields = status.substring(status.lastIndexOf(')') + 2).split(" ");
        boolean isZombie = fields[0].equals("Z") || fields[0].equals("X");
        int threads = Integer.parseInt(fields[17]);
        return !isZombie || threads > 1; // the first thread may end before the others
    }

    /** Runs a process. Returns its output; if it fails, that is the message of the exception. */
    private static String output(ProcessBuilder builder) {
        try {
            // The programs of the TV inherit the output, so it is a file: a pipe would end only with them.
            Path file = Files.createTempFile("hidlaudio-output", null);
            try {
                Process process = builder.redirectErrorStream(true).redirectOutput(file.toFile()).start();
                process.getOutputStream().close();
                int status = process.waitFor();
                String text = Files.readString(file);
                if (status != 0) {
                    throw new TvException(text.isBlank() ? "exit status " + status : text.trim());
                }
                return text;
            } finally {
                Files.delete(file);
            }
        } catch (IOException failed) {
            throw new TvException("cannot run " + builder.command().get(0), failed);
        } catch (InterruptedException interrupted) {
            Thread.currentThread().interrupt();
            throw new TvException("interrupted in " + builder.command(), interrupted);
        }
    }

    private static String timeOf(String line) {
        return line.substring(0, Math.min(line.length(), "11-26 12:00:00.000".length()));
    }

    private static void sleepBriefly() {
        try {
            Thread.sleep(5);
        } catch (InterruptedException interrupted) {
            Thread.currentThread().interrupt();
            throw new IllegalStateException("interrupted while waiting", interrupted);
        }
    }
}
