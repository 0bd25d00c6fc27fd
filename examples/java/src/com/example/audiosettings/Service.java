// SPDX-License-Identifier: Apache-2.0
package com.example.audiosettings;

import android.hidl.base.V1_0.IBase;
import android.os.DeadObjectException;
import android.os.IHwBinder;
import android.os.RemoteException;
import java.util.concurrent.atomic.AtomicReference;

/** A service that is looked up at its first use, and again after its process has ended. Any thread. */
final class Service<T extends IBase> {
    /** Looks the service up, and waits for it. */
    interface LookUp<T> {
        T get() throws RemoteException;
    }

    interface Call<T, R> {
        R on(T service) throws RemoteException;
    }

    private final LookUp<T> lookUp;
    private final Runnable onDeath;
    // Kept in a field: the link lasts only as long as the proxy.
    private final AtomicReference<T> service = new AtomicReference<>();

    /** Creates a service; {@code onDeath} is called on a binder thread. */
    Service(LookUp<T> lookUp, Runnable onDeath) {
        this.lookUp = lookUp;
        this.onDeath = onDeath;
    }

    /**
     * Makes a call. If the service has died, makes it once more on the new one, so the call must be safe to
     * repeat. Blocks until the service is registered: do not call it on the UI thread.
     */
    <R> R call(Call<T, R> call) throws RemoteException {
        T first = get();
        try {
            return call.on(first);
        } catch (DeadObjectException died) {
            forget(first.asBinder());
            return call.on(get());
        }
    }

    // One look-up at a time. It may take until the service is available again.
    private synchronized T get() throws RemoteException {
        T known = service.get();
        // The service may die between the look-up and the link.
        while (known == null) {
            T found = lookUp.get();
            if (found == null) {
                continue; // it died during the look-up
            }
            IHwBinder binder = found.asBinder();
            if (found.linkToDeath(cookie -> died(binder), 0)) {
                service.set(found);
                known = found;
            }
        }
        return known;
    }

    private void died(IHwBinder binder) {
        forget(binder);
        onDeath.run();
    }

    // Not synchronized: the binder thread, which has the notices of all services, must not wait for a look-up.
    private void forget(IHwBinder binder) {
        T known = service.get();
        if (known != null && known.asBinder().equals(binder)) {
            service.compareAndSet(known, null);
        }
    }
}
