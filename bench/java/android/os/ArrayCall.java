// SPDX-License-Identifier: Apache-2.0
package android.os;

/** A call with a vector that is an array in Java, to measure the transport without the conversion of a list. */
public final class ArrayCall {
    private ArrayCall() {}

    /** Calls a method that takes bytes and returns a number. */
    public static int call(IHwBinder target, String descriptor, int code, byte[] data) throws RemoteException {
        HwParcel request = new HwParcel();
        HwParcel reply = new HwParcel();
        try {
            request.writeInterfaceToken(descriptor);
            request.writeInt8Vector(data);
            target.transact(code, request, reply, 0);
            reply.verifySuccess();
            return reply.readInt32();
        } finally {
            request.release();
            reply.release();
        }
    }
}
