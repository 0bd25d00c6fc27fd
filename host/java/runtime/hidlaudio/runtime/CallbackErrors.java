// SPDX-License-Identifier: Apache-2.0
package hidlaudio.runtime;

/**
 * Exceptions that callbacks and death recipients throw. By default they are printed; an {@link Error} ends the
 * process with status 1, as on the platform.
 */
public final class CallbackErrors {
    /** Receives an exception and the TV's folder, or null. Returns whether it has handled the exception. */
    public interface Handler {
        boolean handle(String tv, Throwable error);
    }

    private static volatile Handler handler = (tv, error) -> false;

    private CallbackErrors() {}

    /** Sets the handler that is asked first. */
    public static void setHandler(Handler replacement) {
        handler = replacement;
    }

    /** Reports an exception. Called by the runtime. */
    public static void report(String tv, Throwable error) {
        if (handler.handle(tv, error)) {
            return;
        }
        System.err.println("Uncaught exception in a HIDL callback:");
        error.printStackTrace();
        if (error instanceof Error) {
            System.exit(1);
        }
    }
}
