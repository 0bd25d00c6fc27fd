// SPDX-License-Identifier: Apache-2.0
package com.example.audiosettings;

import android.os.RemoteException;
import com.tovi.dtv.hardware.audio.V1_1.IHdmiAudioCallback;
import com.tovi.dtv.hardware.audio.V3_0.bandEqualizer;
import com.tovi.dtv.hardware.audio.V3_0.calibratedData;
import com.tovi.dtv.hardware.audio.V3_1.IHdmiAudio;
import com.tovi.dtv.hardware.audio.V3_1.IOutputExternal;
import com.tovi.dtv.hardware.audio.V5_1.IAcousticCalibration;
import com.tovi.dtv.hardware.audio.V5_1.IHeadphoneVirtualizer;
import java.util.ArrayList;
import java.util.List;
import java.util.Map;
import java.util.NoSuchElementException;
import java.util.Set;
import java.util.concurrent.ConcurrentHashMap;
import java.util.concurrent.Executor;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;

/**
 * The audio settings of the TV, for the settings app. All methods except {@link #upload} block until the service
 * has answered, which takes up to 20 s while the TV starts. Listeners are called on the executor of the UI.
 */
public final class AudioSettings implements AutoCloseable {
    /** Receives changes that the user interface shows. */
    public interface Listener {
        /** The announced formats were changed, by this app or another one. */
        void onFormatsChanged(List<String> formats);

        /** The service has ended and is available again: the UI reads all settings anew. */
        void onServiceRestarted();
    }

    private static final int BANDS = 31;
    private static final float LOWEST_BAND_HZ = 20;

    private final Executor ui;
    private final Listener listener;
    private final ExecutorService background = Executors.newCachedThreadPool();
    private final Set<Upload> uploads = ConcurrentHashMap.newKeySet();
    private final Service<IHdmiAudio> hdmi =
            new Service<>(() -> IHdmiAudio.getService(true), this::restoreAfterDeath);
    private final Service<IOutputExternal> external = new Service<>(() -> IOutputExternal.getService(true), () -> {});
    private final Service<IAcousticCalibration> calibration =
            new Service<>(() -> IAcousticCalibration.getService(true), () -> {});
    private final Service<IHeadphoneVirtualizer> virtualizer =
            new Service<>(() -> IHeadphoneVirtualizer.getService(true), this::endUploads);
    private final IHdmiAudioCallback callback = new IHdmiAudioCallback.Stub() {
        @Override
        public void onCapabilityChanged(ArrayList<String> formats) {
            AudioSettings.this.ui.execute(() -> listener.onFormatsChanged(List.copyOf(formats)));
        }
    };

    /** Creates the settings. No service is used before the first call. */
    public AudioSettings(Executor ui, Listener listener) {
        this.ui = ui;
        this.listener = listener;
    }

    /** Begins to report changes to the listener. */
    public void observe() throws AudioException {
        run("observing", () -> hdmi.call(service -> {
            service.setCallback(callback);
            return 0;
        }));
    }

    public List<String> formats() throws AudioException {
        return run("reading the formats", () -> hdmi.call(IHdmiAudio::getAudioCapabilities));
    }

    public void setFormats(List<String> formats) throws AudioException {
        set("the formats", () -> hdmi.call(service -> service.setAudioCapabilities(new ArrayList<>(formats))));
    }

    public boolean isEncodingForced() throws AudioException {
        return run("reading forced encoding", () -> external.call(IOutputExternal::getForceEncodingEnabled));
    }

    public void setEncodingForced(boolean forced) throws AudioException {
        set("forced encoding", () -> external.call(service -> service.setForceEncodingEnabled(forced)));
    }

    /**
     * Stores and applies a calibration.
     *
     * @param gains by channel, the gains of 31 third-octave bands in dB
     */
    public void calibrate(Map<String, float[]> gains) throws AudioException {
        ArrayList<calibratedData> data = new ArrayList<>();
        gains.forEach((channel, bands) -> data.add(channelOf(channel, bands)));
        set("the calibration", () -> calibration.call(service -> service.setCalibratedData(data)));
        set("the calibration switch", () -> calibration.call(service -> service.setEnabled(true)));
    }

    public boolean isCalibrated() throws AudioException {
        return run("reading the calibration", () -> calibration.call(IAcousticCalibration::getEnabled));
    }

    /** Starts to send parameters to the controller. Returns at once. */
    public Upload upload(int paramType, byte[] data, Upload.Listener progress) {
        Upload upload = new Upload(virtualizer, paramType, data.clone(), ui, progress);
        uploads.add(upload);
        background.execute(() -> {
            try {
                upload.run();
            } finally {
                uploads.remove(upload);
            }
        });
        return upload;
    }

    /** Ends the uploads and stops the background threads. */
    @Override
    public void close() {
        uploads.forEach(Upload::cancel);
        background.shutdown();
    }

    // The new service does not know the callback. Waiting for it must not block the binder thread.
    private void restoreAfterDeath() {
        if (background.isShutdown()) {
            return;
        }
        background.execute(() -> {
            try {
                observe();
                ui.execute(listener::onServiceRestarted);
            } catch (AudioException unavailable) {
                // The TV has no such service any more; the next call reports it.
            }
        });
    }

    private void endUploads() {
        uploads.forEach(Upload::serviceDied);
    }

    private static calibratedData channelOf(String channel, float[] gains) {
        calibratedData data = new calibratedData();
        data.channel = channel;
        for (int band = 0; band < BANDS; band++) {
            bandEqualizer equalizer = new bandEqualizer();
            equalizer.param1 = (float) (LOWEST_BAND_HZ * Math.pow(2, band / 3.0));
            equalizer.gain = gains[band];
            data.equalizer.add(equalizer);
        }
        return data;
    }

    private interface Action<R> {
        R run() throws RemoteException;
    }

    private static <R> R run(String what, Action<R> action) throws AudioException {
        try {
            return action.run();
        } catch (RemoteException | NoSuchElementException failed) {
            throw new AudioException(what, failed);
        }
    }

    private static void set(String setting, Action<Integer> action) throws AudioException {
        int result = run("setting " + setting, action);
        if (result != 0) {
            throw new AudioException(setting, result);
        }
    }
}
