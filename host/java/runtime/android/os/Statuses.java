// SPDX-License-Identifier: Apache-2.0
package android.os;

import java.util.NoSuchElementException;

/** The transport's status codes, and the exceptions to which the platform converts them. */
final class Statuses {
    static final int OK = 0;
    static final int UNKNOWN_ERROR = Integer.MIN_VALUE;
    private static final int BAD_TYPE = UNKNOWN_ERROR + 1;
    private static final int PERMISSION_DENIED = -1;
    private static final int NAME_NOT_FOUND = -2;
    private static final int NO_MEMORY = -12;
    private static final int ALREADY_EXISTS = -17;
    private static final int NO_INIT = -19;
    private static final int BAD_VALUE = -22;
    private static final int DEAD_OBJECT = -32;
    private static final int OUT_OF_RANGE = -34;
    private static final int INVALID_OPERATION = -38;
    private static final int BAD_INDEX = -75;

    private Statuses() {}

    /** Throws the exception of a failed transaction. Does nothing for OK. */
    static void checkTransaction(int status) throws RemoteException {
        if (status == OK) {
            return;
        }
        throwUnchecked(status);
        String text = "HwBinder Error: (" + status + ")";
        throw status == DEAD_OBJECT ? new DeadObjectException(text) : new RemoteException(text);
    }

    /** Throws the exception of a parcel that cannot be read or written. The native code calls it. */
    static void checkParcel(int status) {
        if (status == OK) {
            return;
        }
        throwUnchecked(status);
        throw new RuntimeException("HwParcel Error: (" + status + ")");
    }

    private static void throwUnchecked(int status) {
        String text = "HwBinder Error: (" + status + ")";
        switch (status) {
            case NO_MEMORY -> throw new OutOfMemoryError(text);
            case INVALID_OPERATION -> throw new UnsupportedOperationException(text);
            case BAD_VALUE, BAD_TYPE -> throw new IllegalArgumentException(text);
            case BAD_INDEX, OUT_OF_RANGE -> throw new IndexOutOfBoundsException(text);
            case NAME_NOT_FOUND -> throw new NoSuchElementException(text);
            case PERMISSION_DENIED -> throw new SecurityException(text);
            case NO_INIT, ALREADY_EXISTS -> throw new RuntimeException(text);
            default -> {}
        }
    }
}
