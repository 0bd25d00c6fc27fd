// SPDX-License-Identifier: Apache-2.0
package hidlaudio.tests;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static org.junit.platform.engine.discovery.DiscoverySelectors.selectClass;

import com.tovi.dtv.hardware.audio.V1_1.IHdmiAudioCallback;
import com.tovi.dtv.hardware.audio.V3_1.IHdmiAudio;
import com.tovi.dtv.hardware.audio.V3_1.IOutputExternal;
import com.tovi.dtv.hardware.audio.V5_1.IAcousticCalibration;
import hidlaudio.junit.Tv;
import hidlaudio.junit.TvException;
import hidlaudio.junit.TvOptions;
import hidlaudio.junit.VirtualTv;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.NoSuchElementException;
import java.util.Optional;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.TimeUnit;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.TestMethodOrder;
import org.junit.jupiter.api.extension.ExtendWith;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.api.parallel.Execution;
import org.junit.jupiter.api.parallel.ExecutionMode;
import org.junit.platform.engine.TestExecutionResult;
import org.junit.platform.launcher.TestExecutionListener;
import org.junit.platform.launcher.TestIdentifier;
import org.junit.platform.launcher.core.LauncherDiscoveryRequestBuilder;
import org.junit.platform.launcher.core.LauncherFactory;

@ExtendWith(VirtualTv.class)
class VirtualTvTest {
    private static final String KEY = "g_audio__tv_position";
    // Runs a virtual machine, which dies with it. It adopts the TV's programs and, like process 1 of many
    // containers, never waits for them.
    private static final List<String> SUBREAPER = List.of("/usr/bin/python3", "-B", "-c", """
            import ctypes, signal, subprocess, sys
            PR_SET_PDEATHSIG, PR_SET_CHILD_SUBREAPER = 1, 36
            prctl = ctypes.CDLL(None).prctl
            prctl(PR_SET_CHILD_SUBREAPER, 1)
            subprocess.Popen(sys.argv[1:], preexec_fn=lambda: prctl(PR_SET_PDEATHSIG, signal.SIGKILL)).wait()
            """);

    @Test
    @TvOptions(model = "standard", faults = "a_mtktvapi_config_set_value 7", clock = 5)
    void optionsConfigureTheTv(Tv tv) throws Exception {
        assertTrue(tv.state().contains("\"model\": \"standard\""));
        IOutputExternal external = IOutputExternal.getService();
        assertEquals(7, external.setForceEncodingEnabled(false));
        tv.clearFaults();
        assertEquals(0, external.setForceEncodingEnabled(false));
        tv.fault("a_mtktvapi_config_set_value", 8);
        assertEquals(8, external.setForceEncodingEnabled(true));
        tv.clearFaults();
        tv.setConfig(KEY, 1);
        assertEquals(1, tv.config(KEY));
        tv.setFile("soc/config/" + KEY, null);
        assertThrows(TvException.class, () -> tv.config(KEY));
        assertThrows(TvException.class, () -> tv.fault("nothing", 1));
    }

    @Test
    void programsCanBeStoppedAndStarted(Tv tv) throws Exception {
        IOutputExternal external = IOutputExternal.getService();
        tv.pause("hidlaudio");
        tv.resume("hidlaudio");
        long before = tv.pid("hidlaudio").getAsLong();
        tv.kill("hidlaudio");
        assertTrue(tv.pid("hidlaudio").isEmpty());
        assertThrows(TvException.class, () -> tv.kill("hidlaudio"));
        assertThrows(NoSuchElementException.class, () -> IOutputExternal.getService(false));
        assertThrows(android.os.DeadObjectException.class, external::getForceEncodingEnabled);
        int lines = tv.log().size();
        tv.boot();
        assertNotEquals(before, tv.pid("hidlaudio").getAsLong());
        assertTrue(tv.waitForLog("tv position", lines).contains("AudioOutSp"));
    }

    @Test
    void threadsUseTheTvOfTheirTest(Tv tv) throws Exception {
        try (Tv second = new Tv(VirtualTvTest.class.getDeclaredMethod("withDefaults").getAnnotation(TvOptions.class))) {
            IOutputExternal.getService().setForceEncodingEnabled(false);
            assertEquals(2, second.config("g_audio__bitstream_output_mode"));
        }
        assertEquals(0, tv.config("g_audio__bitstream_output_mode"));
        Thread inherits = new Thread(() -> {
            try {
                IOutputExternal.getService().setForceEncodingEnabled(false);
            } catch (android.os.RemoteException failed) {
                throw failed.rethrowAsRuntimeException();
            }
        });
        inherits.start();
        inherits.join();
        assertEquals(2, tv.config("g_audio__bitstream_output_mode"));
    }

    @TvOptions
    void withDefaults() {}

    @Test
    void failuresAreReportedWithTheLog() {
        Map<String, String> reports = run(FailingCase.class);
        assertEquals(Map.of(
                "failure", "planned failure / log of the TV",
                "callbackError", "a callback has thrown java.lang.AssertionError: planned / log of the TV",
                "unexpectedEnd", "hidlaudio has ended unexpectedly / log of the TV",
                "unexpectedEndAfterFault", "hidlaudio has ended unexpectedly / log of the TV",
                "expectedEnd", "passed",
                "endByFault", "passed"), reports);
    }

    @Test
    void tvOfAClassIsShared() {
        for (Class<?> type : List.of(SharedCase.class, FieldCase.class)) {
            Map<String, String> reports = run(type);
            assertEquals(Map.of("first", "passed", "second", "passed"), reports);
        }
    }

    @Test
    void errorOfADeathRecipientAtTheEndOfATestKeepsTheOtherTests() {
        assertEquals(Map.of("first", "passed", "second", "passed"), run(DeathRecipientCase.class));
    }

    @Test
    void killedVirtualMachineLeavesNothing(Tv tv) throws Exception {
        try (ProbeProcess other = ProbeProcess.startJava(tv, SUBREAPER, OwnerMain.class)) {
            byte[] line = new byte[1000];
            String[] state = new String(line, 0, other.process.getInputStream().read(line)).trim().split(" ");
            Path daemon = Path.of("/proc", state[1], "exe"); // does not exist for a zombie
            assertTrue(Files.exists(daemon));
            other.kill();
            Path folder = Path.of(state[0]).getParent();
            Tv.waitUntil("the folder is left", () -> !Files.exists(folder));
            Tv.waitUntil("the daemon lives", () -> !Files.exists(daemon));
        }
    }

    /** Boots a TV, restarts the daemon, and prints the TV's folder and the daemon's process. */
    static final class OwnerMain {
        public static void main(String[] arguments) throws Exception {
            TvOptions options = VirtualTvTest.class.getDeclaredMethod("withDefaults").getAnnotation(TvOptions.class);
            Tv tv = new Tv(options);
            tv.kill("hidlaudio");
            tv.boot();
            System.out.println("ready\n" + tv.path() + " " + tv.pid("hidlaudio").getAsLong());
            Thread.sleep(Long.MAX_VALUE);
        }
    }

    @ExtendWith(VirtualTv.class)
    @Execution(ExecutionMode.SAME_THREAD)
    static class FailingCase {
        @Test
        void failure() throws Exception {
            IOutputExternal.getService().getForceEncodingEnabled();
            throw new IllegalStateException("planned failure");
        }

        @Test
        void callbackError() throws Exception {
            IHdmiAudio hdmi = IHdmiAudio.getService();
            hdmi.setCallback(new IHdmiAudioCallback.Stub() {
                @Override
                public void onCapabilityChanged(ArrayList<String> capabilities) {
                    throw new AssertionError("planned");
                }
            });
            hdmi.setAudioCapabilities(new ArrayList<>(List.of("ARC_DD_PLUS")));
        }

        @Test
        void endByFault(Tv tv) throws Exception {
            IAcousticCalibration calibration = IAcousticCalibration.getService();
            tv.addFault("fsync", "dies");
            assertThrows(android.os.DeadObjectException.class, () -> calibration.setEnabled(false));
            Tv.waitUntil("the daemon lives", () -> tv.pid("hidlaudio").isEmpty());
            tv.clearFaults();
        }

        @Test
        void unexpectedEndAfterFault(Tv tv) {
            tv.addFault("fsync", "dies");
            tv.clearFaults();
            unexpectedEnd(tv);
        }

        @Test
        void unexpectedEnd(Tv tv) {
            ProcessHandle.of(tv.pid("hidlaudio").getAsLong()).get().destroyForcibly();
            Tv.waitUntil("the daemon lives", () -> tv.pid("hidlaudio").isEmpty());
        }

        @Test
        void expectedEnd(Tv tv) {
            tv.kill("hidlaudio");
        }
    }

    /** The recipient of the first test is notified when its TV is closed. */
    @ExtendWith(VirtualTv.class)
    @TestMethodOrder(org.junit.jupiter.api.MethodOrderer.MethodName.class)
    @Execution(ExecutionMode.SAME_THREAD)
    static class DeathRecipientCase {
        private static final CountDownLatch NOTICE = new CountDownLatch(1);
        private static IOutputExternal linked;

        @Test
        void first() throws Exception {
            linked = IOutputExternal.getService();
            linked.linkToDeath(cookie -> {
                NOTICE.countDown();
                throw new AssertionError("planned");
            }, 0);
        }

        @Test
        void second() throws Exception {
            assertTrue(NOTICE.await(10, TimeUnit.SECONDS));
            linked = null;
        }
    }

    @ExtendWith(VirtualTv.class)
    @TvOptions(perClass = true)
    @TestMethodOrder(org.junit.jupiter.api.MethodOrderer.MethodName.class)
    @Execution(ExecutionMode.SAME_THREAD)
    static class SharedCase {
        @Test
        void first(Tv tv) {
            tv.setConfig(KEY, 12);
        }

        @Test
        void second(Tv tv) {
            assertEquals(12, tv.config(KEY));
        }
    }

    @TestMethodOrder(org.junit.jupiter.api.MethodOrderer.MethodName.class)
    @Execution(ExecutionMode.SAME_THREAD)
    static class FieldCase {
        @RegisterExtension
        static final VirtualTv ANY = new VirtualTv();

        @Test
        void first(Tv tv) {
            tv.setConfig(KEY, 12);
        }

        @Test
        void second(Tv tv) {
            assertEquals(12, tv.config(KEY));
        }
    }

    /** Runs a class. Returns, by test, "passed" or the texts of the exception and of its report. */
    private static Map<String, String> run(Class<?> type) {
        Map<String, String> reports = new LinkedHashMap<>();
        LauncherFactory.create().execute(
                LauncherDiscoveryRequestBuilder.request().selectors(selectClass(type))
                        .configurationParameter("junit.jupiter.execution.parallel.enabled", "false").build(),
                new TestExecutionListener() {
                    @Override
                    public void executionFinished(TestIdentifier test, TestExecutionResult result) {
                        if (test.isTest()) {
                            String name = test.getDisplayName().replaceAll("\\(.*", "");
                            reports.put(name, result.getThrowable().map(VirtualTvTest::describe).orElse("passed"));
                        }
                    }
                });
        return reports;
    }

    private static String describe(Throwable error) {
        String text = error.getMessage();
        for (Throwable report : error.getSuppressed()) {
            if (report instanceof hidlaudio.junit.TvProblems) {
                text += " / " + report.getMessage();
            }
        }
        Optional<String> log = text.lines().filter(line -> line.contains("[hidlaudio]")).findAny();
        assertFalse(log.isEmpty(), text);
        return text.replaceAll("(?s)(\\n| / )log of the TV:.*", " / log of the TV");
    }
}
