// SPDX-License-Identifier: Apache-2.0
package com.example.audiosettings

import android.os.RemoteException
import com.tovi.dtv.hardware.audio.V1_1.IHdmiAudioCallback
import com.tovi.dtv.hardware.audio.V3_0.bandEqualizer
import com.tovi.dtv.hardware.audio.V3_0.calibratedData
import com.tovi.dtv.hardware.audio.V3_1.IHdmiAudio
import com.tovi.dtv.hardware.audio.V3_1.IOutputExternal
import com.tovi.dtv.hardware.audio.V5_1.IAcousticCalibration
import com.tovi.dtv.hardware.audio.V5_1.IHeadphoneVirtualizer
import java.util.ArrayList
import java.util.NoSuchElementException
import java.util.concurrent.ConcurrentHashMap
import java.util.concurrent.Executor
import java.util.concurrent.Executors
import kotlin.math.pow

private const val BANDS = 31
private const val LOWEST_BAND_HZ = 20.0

/**
 * The audio settings of the TV, for the settings app. All methods except [upload] block until the service has
 * answered, which takes up to 20 s while the TV starts. Listeners are called on the executor of the UI. No
 * service is used before the first call.
 */
class AudioSettings(private val ui: Executor, private val listener: Listener) : AutoCloseable {
    /** Receives changes that the user interface shows. */
    interface Listener {
        /** The announced formats were changed, by this app or another one. */
        fun onFormatsChanged(formats: List<String>)

        /** The service has ended and is available again: the UI reads all settings anew. */
        fun onServiceRestarted()
    }

    private val background = Executors.newCachedThreadPool()
    private val uploads = ConcurrentHashMap.newKeySet<Upload>()
    private val hdmi = Service({ IHdmiAudio.getService(true) }, this::restoreAfterDeath)
    private val external = Service({ IOutputExternal.getService(true) }, {})
    private val calibration = Service({ IAcousticCalibration.getService(true) }, {})
    private val virtualizer =
        Service({ IHeadphoneVirtualizer.getService(true) }, { uploads.forEach(Upload::serviceDied) })
    private val callback = object : IHdmiAudioCallback.Stub() {
        override fun onCapabilityChanged(formats: ArrayList<String>) {
            val copy = formats.toList()
            ui.execute { listener.onFormatsChanged(copy) }
        }
    }

    /** Begins to report changes to the listener. */
    @Throws(AudioException::class)
    fun observe() = run("observing") { hdmi.call { it.setCallback(callback) } }

    @Throws(AudioException::class)
    fun formats(): List<String> = run("reading the formats") { hdmi.call { it.audioCapabilities } }

    @Throws(AudioException::class)
    fun setFormats(formats: List<String>) =
        set("the formats") { hdmi.call { it.setAudioCapabilities(ArrayList(formats)) } }

    @Throws(AudioException::class)
    fun isEncodingForced(): Boolean =
        run("reading forced encoding") { external.call { it.forceEncodingEnabled } }

    @Throws(AudioException::class)
    fun setEncodingForced(forced: Boolean) =
        set("forced encoding") { external.call { it.setForceEncodingEnabled(forced) } }

    /**
     * Stores and applies a calibration.
     *
     * @param gains by channel, the gains of 31 third-octave bands in dB
     */
    @Throws(AudioException::class)
    fun calibrate(gains: Map<String, FloatArray>) {
        val data = gains.mapTo(ArrayList()) { (channel, bands) -> channelOf(channel, bands) }
        set("the calibration") { calibration.call { it.setCalibratedData(data) } }
        set("the calibration switch") { calibration.call { it.setEnabled(true) } }
    }

    @Throws(AudioException::class)
    fun isCalibrated(): Boolean = run("reading the calibration") { calibration.call { it.enabled } }

    /** Starts to send parameters to the controller. Returns at once. */
    fun upload(paramType: Int, data: ByteArray, progress: Upload.Listener): Upload {
        val upload = Upload(virtualizer, paramType, data.clone(), ui, progress)
        uploads.add(upload)
        background.execute {
            try {
                upload.run()
            } finally {
                uploads.remove(upload)
            }
        }
        return upload
    }

    /** Ends the uploads and stops the background threads. */
    override fun close() {
        uploads.forEach(Upload::cancel)
        background.shutdown()
    }

    // The new service does not know the callback. Waiting for it must not block the binder thread.
    private fun restoreAfterDeath() {
        if (background.isShutdown) return
        background.execute {
            try {
                observe()
                ui.execute(listener::onServiceRestarted)
            } catch (unavailable: AudioException) {
                // The TV has no such service any more; the next call reports it.
            }
        }
    }

    private fun channelOf(name: String, gains: FloatArray) = calibratedData().apply {
        channel = name
        for (band in 0 until BANDS) {
            equalizer.add(bandEqualizer().apply {
                param1 = (LOWEST_BAND_HZ * 2.0.pow(band / 3.0)).toFloat()
                gain = gains[band]
            })
        }
    }

    private fun <R> run(what: String, action: () -> R): R {
        try {
            return action()
        } catch (failed: RemoteException) {
            throw AudioException(what, failed)
        } catch (missing: NoSuchElementException) {
            throw AudioException(what, missing)
        }
    }

    private fun set(setting: String, action: () -> Int) {
        val result = run("setting $setting", action)
        if (result != 0) throw AudioException(setting, result)
    }
}
