// SPDX-License-Identifier: Apache-2.0
package android.os;

import android.util.AndroidException;

/** A call has failed. The message contains the number of the transport's status. */
public class RemoteException extends AndroidException {
    public RemoteException() {}

    public RemoteException(String message) {
        super(message);
    }

    /** Returns a RuntimeException with this exception as its cause. */
    public RuntimeException rethrowAsRuntimeException() {
        throw new RuntimeException(this);
    }
}
