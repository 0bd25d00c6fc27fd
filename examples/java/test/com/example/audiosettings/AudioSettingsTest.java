// SPDX-License-Identifier: Apache-2.0
package com.example.audiosettings;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.tovi.dtv.hardware.audio.V3_1.IHdmiAudio;
import com.tovi.dtv.hardware.audio.V5_0.ParamType;
import hidlaudio.junit.Tv;
import hidlaudio.junit.TvOptions;
import hidlaudio.junit.VirtualTv;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Map;
import java.util.Random;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.FutureTask;
import java.util.concurrent.LinkedBlockingQueue;
import java.util.concurrent.TimeUnit;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.ExtendWith;

/** Tests an app's class against the daemon. Each test has a TV of its own. */
@ExtendWith(VirtualTv.class)
class AudioSettingsTest {
    private final ExecutorService ui = Executors.newSingleThreadExecutor(task -> new Thread(task, "ui"));
    private final LinkedBlockingQueue<String> events = new LinkedBlockingQueue<>();
    private AudioSettings settings;

    @BeforeEach
    void open() {
        settings = new AudioSettings(ui, new AudioSettings.Listener() {
            @Override
            public void onFormatsChanged(List<String> formats) {
                events.add(Thread.currentThread().getName() + " formats " + formats);
            }

            @Override
            public void onServiceRestarted() {
                events.add(Thread.currentThread().getName() + " restarted");
            }
        });
    }

    @AfterEach
    void close() {
        settings.close();
        ui.shutdown();
    }

    private static <T> T next(LinkedBlockingQueue<T> queue) throws InterruptedException {
        return queue.poll(20, TimeUnit.SECONDS);
    }

    @Test
    void changesReachTheUiThread() throws Exception {
        settings.observe();
        settings.setFormats(List.of("ARC_DD_PLUS"));
        assertEquals("ui formats [ARC_DD_PLUS]", next(events));
        assertTrue(settings.formats().contains("ARC_DD_PLUS"));
    }

    @Test
    void refusedSettingIsAnError(Tv tv) throws Exception {
        tv.fault("a_mtktvapi_config_set_value", 7);
        AudioException refused = assertThrows(AudioException.class, () -> settings.setEncodingForced(false));
        assertEquals(7, refused.result());
        assertTrue(settings.isEncodingForced());
    }

    @Test
    void settingsWorkAfterARestartOfTheDaemon(Tv tv) throws Exception {
        settings.observe();
        settings.setEncodingForced(false);
        settings.calibrate(Map.of("FrontLeft", new float[31]));
        tv.kill("hidlaudio");
        tv.boot();
        assertEquals("ui restarted", next(events));
        assertFalse(settings.isEncodingForced());
        assertTrue(settings.isCalibrated());
        settings.setFormats(List.of("ARC_DD_PLUS")); // the callback is set again
        assertEquals("ui formats [ARC_DD_PLUS]", next(events));
    }

    @Test
    @TvOptions(boot = false)
    void callsWaitForTheService(Tv tv) throws Exception {
        LinkedBlockingQueue<Boolean> answers = new LinkedBlockingQueue<>();
        Thread app = new Thread(() -> {
            try {
                answers.add(settings.isEncodingForced());
            } catch (AudioException failed) {
                events.add(failed.toString());
            }
        });
        app.start();
        tv.boot();
        assertEquals(true, next(answers));
        app.join();
        tv.setFile("manifest", new byte[0]);
        assertThrows(AudioException.class, () -> settings.isCalibrated());
    }

    /** Records an upload. */
    private static final class Record implements Upload.Listener {
        final List<Integer> progress = new ArrayList<>();
        final LinkedBlockingQueue<Upload.Outcome> ends = new LinkedBlockingQueue<>();

        @Override
        public void onProgress(int percent) {
            progress.add(percent);
        }

        @Override
        public void onEnd(Upload.Outcome outcome) {
            ends.add(outcome);
        }
    }

    private static byte[] parameters() {
        byte[] data = new byte[700000];
        new Random(1).nextBytes(data);
        return data;
    }

    @Test
    void uploadArrivesWithProgress(Tv tv) throws Exception {
        Record record = new Record();
        byte[] data = parameters();
        settings.upload(ParamType.HRTF, data, record);
        assertEquals(Upload.Outcome.DONE, next(record.ends));
        assertEquals(List.of(0, 37, 74, 100), record.progress);
        assertArrayEquals(data, tv.file("bectrl/hrtf.bin"));
    }

    @Test
    void uploadCanBeCancelled(Tv tv) throws Exception {
        tv.command("bectrl", "hang", "on");
        Record record = new Record();
        Upload upload = settings.upload(ParamType.HRTF, parameters(), record);
        tv.waitForLog("read proc file(state)=0x1"); // before, the controller refuses to cancel
        upload.cancel();
        assertEquals(Upload.Outcome.CANCELLED, next(record.ends));
    }

    @Test
    void uploadEndsIfTheDaemonDies(Tv tv) throws Exception {
        tv.command("bectrl", "hang", "on");
        Record record = new Record();
        settings.upload(ParamType.HRTF, parameters(), record);
        tv.waitForLog("Acquire Wakelock completed");
        tv.kill("hidlaudio");
        assertEquals(Upload.Outcome.SERVICE_DIED, next(record.ends));
        tv.command("bectrl", "hang", "off");
        tv.boot();
        settings.upload(ParamType.HRTF, new byte[] {1}, record);
        assertEquals(Upload.Outcome.DONE, next(record.ends));
    }

    @Test
    void uploadEndsIfTheDaemonDiesWhileACallWaitsForAnother(Tv tv) throws Exception {
        tv.command("bectrl", "hang", "on");
        Record record = new Record();
        settings.upload(ParamType.HRTF, parameters(), record);
        tv.waitForLog("Acquire Wakelock completed");
        // All notices come on one thread, first those of the services that were used last. This one delays them
        // until a call looks the service up.
        CountDownLatch lookUp = new CountDownLatch(1);
        IHdmiAudio linked = IHdmiAudio.getService();
        linked.linkToDeath(cookie -> await(lookUp), 0);
        settings.formats();
        tv.kill("hidlaudio");
        FutureTask<List<String>> formats = new FutureTask<>(settings::formats);
        Thread caller = new Thread(formats);
        caller.setDaemon(true);
        caller.start();
        Tv.waitUntil("no look-up", () -> Arrays.stream(caller.getStackTrace())
                .anyMatch(call -> call.getMethodName().equals("getService")));
        lookUp.countDown();
        assertEquals(Upload.Outcome.SERVICE_DIED, next(record.ends));
        tv.boot();
        formats.get(60, TimeUnit.SECONDS);
    }

    private static void await(CountDownLatch latch) {
        try {
            latch.await();
        } catch (InterruptedException interrupted) {
            throw new IllegalStateException(interrupted);
        }
    }
}
