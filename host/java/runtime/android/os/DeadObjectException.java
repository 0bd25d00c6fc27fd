// SPDX-License-Identifier: Apache-2.0
package android.os;

/** The process of the called object has ended. */
public class DeadObjectException extends RemoteException {
    public DeadObjectException() {}

    public DeadObjectException(String message) {
        super(message);
    }
}
