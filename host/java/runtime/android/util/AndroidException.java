// SPDX-License-Identifier: Apache-2.0
package android.util;

/** Base class of the platform's checked exceptions. */
public class AndroidException extends Exception {
    public AndroidException() {}

    public AndroidException(String message) {
        super(message);
    }

    public AndroidException(String message, Throwable cause) {
        super(message, cause);
    }

    public AndroidException(Exception cause) {
        super(cause);
    }
}
