// SPDX-License-Identifier: Apache-2.0
package hidlaudio.junit;

/** A command of {@code tv} has failed. The message is what it printed. */
public class TvException extends RuntimeException {
    public TvException(String message) {
        super(message);
    }

    public TvException(String message, Throwable cause) {
        super(message, cause);
    }
}
