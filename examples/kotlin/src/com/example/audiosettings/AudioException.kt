// SPDX-License-Identifier: Apache-2.0
package com.example.audiosettings

/** The TV has refused a setting, or cannot be reached. */
class AudioException : Exception {
    private val result: Int

    internal constructor(setting: String, result: Int) : super("$setting was refused with result $result") {
        this.result = result
    }

    internal constructor(setting: String, cause: Throwable) : super("$setting failed", cause) {
        result = 0
    }

    /** Returns the result of the service, or 0 if it could not be reached. */
    fun result() = result
}
