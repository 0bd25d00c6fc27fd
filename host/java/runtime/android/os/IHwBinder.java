// SPDX-License-Identifier: Apache-2.0
package android.os;

/** Target of calls: an object of this process ({@link HwBinder}) or of another one ({@link HwRemoteBinder}). */
public interface IHwBinder {
    /** The caller does not wait for the call. */
    int FLAG_ONEWAY = 1;

    /**
     * Calls method {@code code}. Blocks until the reply has arrived, unless the call is oneway.
     *
     * @throws DeadObjectException if the process of the object has ended
     * @throws RemoteException if the call fails for another reason
     */
    void transact(int code, HwParcel request, HwParcel reply, int flags) throws RemoteException;

    /** Returns the implementation if it is an object of this process with this descriptor, or else null. */
    IHwInterface queryLocalInterface(String descriptor);

    /** Receives a death notice. */
    interface DeathRecipient {
        /** Called on a binder thread when the process of the linked object has ended. */
        void serviceDied(long cookie);
    }

    /**
     * Links a recipient to the end of the object's process. The link lasts as long as this object.
     *
     * @return whether the recipient was linked; false if the end was reported already
     */
    boolean linkToDeath(DeathRecipient recipient, long cookie);

    /** Removes one link of a recipient. Returns false if there is none. */
    boolean unlinkToDeath(DeathRecipient recipient);
}
