// SPDX-License-Identifier: Apache-2.0
package com.example.audiosettings;

import android.os.RemoteException;
import com.tovi.dtv.hardware.audio.V5_0.IHeadphoneVirtualizerCallback;
import com.tovi.dtv.hardware.audio.V5_1.IHeadphoneVirtualizer;
import java.util.ArrayList;
import java.util.NoSuchElementException;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.Executor;

/** One upload of parameters. It is not repeated if the service dies, because the controller may be busy. */
public final class Upload {
    /** How an upload has ended. */
    public enum Outcome {
        DONE, REFUSED, CANCELLED, SERVICE_DIED
    }

    /** Called on the executor of the UI. */
    public interface Listener {
        void onProgress(int percent);

        void onEnd(Outcome outcome);
    }

    private static final int DONE = 0;

    private final Service<IHeadphoneVirtualizer> service;
    private final int paramType;
    private final byte[] data;
    private final Executor ui;
    private final Listener listener;
    private final CompletableFuture<Outcome> outcome = new CompletableFuture<>();
    private volatile boolean cancelled;
    private volatile int handle;

    Upload(Service<IHeadphoneVirtualizer> service, int paramType, byte[] data, Executor ui, Listener listener) {
        this.service = service;
        this.paramType = paramType;
        this.data = data;
        this.ui = ui;
        this.listener = listener;
    }

    /**
     * Cancels the upload. Blocks until the service has answered. The listener then gets the result. The service
     * refuses for some milliseconds after the last byte: an app that needs the end at once calls this again.
     */
    public void cancel() {
        cancelled = true;
        int buffer = handle;
        if (buffer != 0) {
            try {
                service.call(virtualizer -> virtualizer.cancel(buffer)); // refused while data is appended
            } catch (RemoteException | NoSuchElementException gone) {
                serviceDied();
            }
        }
    }

    /** Called on a binder thread. */
    void serviceDied() {
        outcome.complete(Outcome.SERVICE_DIED);
    }

    /** Sends the data and waits for the end. Called on a background thread. */
    void run() {
        try {
            service.call(this::send);
        } catch (RemoteException | NoSuchElementException failed) {
            serviceDied();
        }
        Outcome end = outcome.join();
        ui.execute(() -> listener.onEnd(end));
    }

    private Void send(IHeadphoneVirtualizer virtualizer) throws RemoteException {
        if (outcome.isDone()) {
            return null; // the repetition after a death
        }
        handle = virtualizer.allocateParameterBuffer(paramType, data.length);
        boolean sent = handle != 0 && append(virtualizer) && virtualizer.apply(handle, callback()) == DONE;
        if (sent) {
            report(100);
            return null;
        }
        if (handle != 0) {
            virtualizer.discardParameterBuffer(handle);
        }
        outcome.complete(cancelled ? Outcome.CANCELLED : Outcome.REFUSED);
        return null;
    }

    private boolean append(IHeadphoneVirtualizer virtualizer) throws RemoteException {
        int step = virtualizer.getMaxAppendSize();
        for (int start = 0; start < data.length; start += step) {
            ArrayList<Byte> piece = new ArrayList<>(step);
            for (int i = start; i < Math.min(start + step, data.length); i++) {
                piece.add(data[i]);
            }
            if (cancelled || virtualizer.append(handle, piece) != DONE) {
                return false;
            }
            report((int) (100L * start / data.length));
        }
        return !cancelled;
    }

    private IHeadphoneVirtualizerCallback callback() {
        return new IHeadphoneVirtualizerCallback.Stub() {
            @Override
            public void onApplyResult(int result) {
                outcome.complete(result == DONE ? Outcome.DONE : cancelled ? Outcome.CANCELLED : Outcome.REFUSED);
            }
        };
    }

    private void report(int percent) {
        ui.execute(() -> listener.onProgress(percent));
    }
}
