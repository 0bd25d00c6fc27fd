// SPDX-License-Identifier: Apache-2.0
package com.example.audiosettings

import android.hidl.base.V1_0.IBase
import android.os.DeadObjectException
import android.os.IHwBinder
import java.util.concurrent.atomic.AtomicReference

/**
 * A service that is looked up at its first use, and again after its process has ended. Any thread.
 *
 * @param lookUp looks the service up, and waits for it
 * @param onDeath called on a binder thread
 */
internal class Service<T : IBase>(private val lookUp: () -> T?, private val onDeath: () -> Unit) {
    // Kept in a field: the link lasts only as long as the proxy.
    private val service = AtomicReference<T?>()

    /**
     * Makes a call. If the service has died, makes it once more on the new one, so the call must be safe to
     * repeat. Blocks until the service is registered: do not call it on the UI thread.
     */
    fun <R> call(call: (T) -> R): R {
        val first = get()
        return try {
            call(first)
        } catch (died: DeadObjectException) {
            forget(first.asBinder())
            call(get())
        }
    }

    // One look-up at a time. It may take until the service is available again.
    @Synchronized
    private fun get(): T {
        service.get()?.let { return it }
        // The service may die during the look-up, or between it and the link.
        while (true) {
            val found = lookUp() ?: continue
            val binder = found.asBinder()
            val recipient = IHwBinder.DeathRecipient {
                forget(binder)
                onDeath()
            }
            if (found.linkToDeath(recipient, 0)) {
                service.set(found)
                return found
            }
        }
    }

    // Not synchronized: the binder thread, which has the notices of all services, must not wait for a look-up.
    private fun forget(binder: IHwBinder) {
        val known = service.get()
        if (known?.asBinder() == binder) service.compareAndSet(known, null)
    }
}
