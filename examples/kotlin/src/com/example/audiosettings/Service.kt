// SPDX-License-Identifier: Apache-2.0
package com.example.audiosettings

import android.hidl.base.V1_0.IBase
import android.os.DeadObjectException
import android.os.IHwBinder

/**
 * A service that is looked up at its first use, and again after its process has ended. Any thread.
 *
 * @param lookUp looks the service up, and waits for it
 * @param onDeath called on a binder thread
 */
internal class Service<T : IBase>(private val lookUp: () -> T?, private val onDeath: () -> Unit) {
    // Kept in a field: the link lasts only as long as the proxy.
    private var service: T? = null

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

    @Synchronized
    private fun get(): T {
        // The service may die during the look-up, or between it and the link.
        while (true) {
            service?.let { return it }
            val found = lookUp() ?: continue
            val binder = found.asBinder()
            val recipient = IHwBinder.DeathRecipient {
                forget(binder)
                onDeath()
            }
            if (found.linkToDeath(recipient, 0)) service = found
        }
    }

    @Synchronized
    private fun forget(binder: IHwBinder) {
        if (service?.asBinder() == binder) service = null
    }
}
