// SPDX-License-Identifier: Apache-2.0
package hidlaudio.junit;

/** Thrown if a command of {@code tv} fails. The message is the output of the command. */
public class TvException extends RuntimeException {
    public TvException(String message) {
        super(message);
    }

    public TvException(String message, Throwable cause) {
        super(message, cause);
    }
}
