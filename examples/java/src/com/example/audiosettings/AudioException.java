// SPDX-License-Identifier: Apache-2.0
package com.example.audiosettings;

/** The TV has refused a setting, or cannot be reached. */
public class AudioException extends Exception {
    private final int result;

    AudioException(String setting, int result) {
        super(setting + " was refused with result " + result);
        this.result = result;
    }

    AudioException(String setting, Throwable cause) {
        super(setting + " failed", cause);
        this.result = 0;
    }

    /** Returns the result of the service, or 0 if it could not be reached. */
    public int result() {
        return result;
    }
}
