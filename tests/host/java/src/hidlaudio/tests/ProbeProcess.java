// SPDX-License-Identifier: Apache-2.0
package hidlaudio.tests;

import com.tovi.test.javaprobe.V1_1.IJavaProbe;
import hidlaudio.junit.Tv;
import java.io.IOException;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;

/** A process of a TV that the test ends. */
final class ProbeProcess implements AutoCloseable {
    final Process process;

    private ProbeProcess(Tv tv, List<String> command) throws IOException {
        tv.setFile("manifest", null); // so that any service can be registered
        ProcessBuilder builder = new ProcessBuilder(command).redirectError(ProcessBuilder.Redirect.INHERIT);
        builder.environment().put("HIDLAUDIO_TV", tv.path().toString());
        process = builder.start();
        StringBuilder line = new StringBuilder();
        for (int next = 0; (next = process.getInputStream().read()) > 0 && next != '\n'; ) {
            line.append((char) next);
        }
        if (!line.toString().equals("ready")) {
            process.destroyForcibly();
            throw new IOException("the process has not started: " + line);
        }
    }

    /** Starts the C++ service. */
    static ProbeProcess start(Tv tv) throws IOException {
        return new ProbeProcess(tv, List.of(System.getProperty("probe.service"), "default"));
    }

    /** Starts a virtual machine with a main class of the tests, which must print "ready". */
    static ProbeProcess startJava(Tv tv, Class<?> main, String... arguments) throws IOException {
        return startJava(tv, List.of(), main, arguments);
    }

    /** Does the same with a command in front, which runs the virtual machine. */
    static ProbeProcess startJava(Tv tv, List<String> runner, Class<?> main, String... arguments)
            throws IOException {
        List<String> command = new ArrayList<>(runner);
        command.addAll(List.of(
                Path.of(System.getProperty("java.home"), "bin/java").toString(), "-Xcheck:jni", "-Xmx64m",
                "-Dprobe.service=" + System.getProperty("probe.service"),
                "-Dhidlaudio.programs=" + System.getProperty("hidlaudio.programs"), "-cp",
                System.getProperty("java.class.path"), main.getName()));
        command.addAll(List.of(arguments));
        return new ProbeProcess(tv, command);
    }

    IJavaProbe get() throws Exception {
        return IJavaProbe.getService("default", false);
    }

    /** Kills the process and waits for its end. */
    void kill() {
        process.destroyForcibly().onExit().join();
    }

    @Override
    public void close() {
        kill();
    }
}
