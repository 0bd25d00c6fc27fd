// SPDX-License-Identifier: Apache-2.0
package com.example.audiosettings

import android.os.RemoteException
import com.tovi.dtv.hardware.audio.V5_0.IHeadphoneVirtualizerCallback
import com.tovi.dtv.hardware.audio.V5_1.IHeadphoneVirtualizer
import java.util.NoSuchElementException
import java.util.concurrent.CompletableFuture
import java.util.concurrent.Executor

private const val DONE = 0

/** One upload of parameters. It is not repeated if the service dies, because the controller may be busy. */
class Upload internal constructor(
    private val service: Service<IHeadphoneVirtualizer>,
    private val paramType: Int,
    private val data: ByteArray,
    private val ui: Executor,
    private val listener: Listener
) {
    /** How an upload has ended. */
    enum class Outcome { DONE, REFUSED, CANCELLED, SERVICE_DIED }

    /** Called on the executor of the UI. */
    interface Listener {
        fun onProgress(percent: Int)

        fun onEnd(outcome: Outcome)
    }

    private val outcome = CompletableFuture<Outcome>()
    @Volatile private var cancelled = false
    @Volatile private var handle = 0
    private val callback = object : IHeadphoneVirtualizerCallback.Stub() {
        override fun onApplyResult(result: Int) {
            outcome.complete(if (result == DONE) Outcome.DONE else refusal())
        }
    }

    /**
     * Cancels the upload. Blocks until the service has answered. The listener then gets the result. The service
     * refuses for some milliseconds after the last byte: an app that needs the end at once calls this again.
     */
    fun cancel() {
        cancelled = true
        if (handle == 0) return
        orServiceDied { it.cancel(handle) } // refused while data is appended
    }

    /** Called on a binder thread. */
    internal fun serviceDied() {
        outcome.complete(Outcome.SERVICE_DIED)
    }

    /** Sends the data and waits for the end. Called on a background thread. */
    internal fun run() {
        orServiceDied(this::send)
        val end = outcome.join()
        ui.execute { listener.onEnd(end) }
    }

    private fun <R> orServiceDied(call: (IHeadphoneVirtualizer) -> R) {
        try {
            service.call(call)
        } catch (failed: RemoteException) {
            serviceDied()
        } catch (gone: NoSuchElementException) {
            serviceDied()
        }
    }

    private fun refusal() = if (cancelled) Outcome.CANCELLED else Outcome.REFUSED

    private fun send(virtualizer: IHeadphoneVirtualizer) {
        if (outcome.isDone) return // the repetition after a death
        handle = virtualizer.allocateParameterBuffer(paramType, data.size)
        if (handle != 0 && append(virtualizer) && virtualizer.apply(handle, callback) == DONE) {
            report(100)
            return
        }
        if (handle != 0) virtualizer.discardParameterBuffer(handle)
        outcome.complete(refusal())
    }

    private fun append(virtualizer: IHeadphoneVirtualizer): Boolean {
        val size = virtualizer.maxAppendSize
        for (start in data.indices step size) {
            val piece = ArrayList(data.asList().subList(start, minOf(start + size, data.size)))
            if (cancelled || virtualizer.append(handle, piece) != DONE) return false
            report((100L * start / data.size).toInt())
        }
        return !cancelled
    }

    private fun report(percent: Int) = ui.execute { listener.onProgress(percent) }
}
