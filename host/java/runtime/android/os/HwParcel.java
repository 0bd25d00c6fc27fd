// SPDX-License-Identifier: Apache-2.0
package android.os;

import java.lang.ref.Cleaner;
import java.lang.ref.Reference;
import java.util.ArrayList;
import java.util.Arrays;

/**
 * Arguments or results of one call, as generated code writes and reads them. The methods that read throw
 * IllegalArgumentException or RuntimeException if the parcel does not hold the requested value. One thread at
 * a time.
 */
public class HwParcel {
    /** Status of a call that has succeeded. */
    public static final int STATUS_SUCCESS = 0;

    // 0: released, or received for a call that has ended.
    private long handle;
    // Frees the native parcel; null if it belongs to a call that this process serves.
    private final Cleaner.Cleanable memory;
    // The string that HwBlob.getString() has read ahead, for the readEmbeddedBuffer() that follows.
    private HwBlob readAhead;

    /** Creates a parcel to be written, or to receive a reply. */
    public HwParcel() {
        handle = Native.newParcel();
        long own = handle;
        memory = Native.CLEANER.register(this, () -> Native.deleteParcel(own));
    }

    /** Creates a parcel of a call that this process serves. It must be released when the call ends. */
    HwParcel(long handle) {
        this.handle = handle;
        memory = null;
    }

    long handle() {
        if (handle == 0) {
            throw new IllegalStateException("the parcel is released, or its call has ended");
        }
        return handle;
    }

    /** Writes the name of the interface whose method is called. */
    public final void writeInterfaceToken(String interfaceName) {
        writeInterfaceToken(handle(), Native.utf8(interfaceName));
    }

    /**
     * Reads that name.
     *
     * @throws SecurityException if it is not {@code interfaceName}
     */
    public final void enforceInterface(String interfaceName) {
        if (!readInterfaceToken(handle(), Native.utf8(interfaceName))) {
            throw new SecurityException("the call is not for " + interfaceName);
        }
    }

    public final native void writeBool(boolean value);

    public final native boolean readBool();

    public final native void writeInt8(byte value);

    public final native byte readInt8();

    public final native void writeInt16(short value);

    public final native short readInt16();

    public final native void writeInt32(int value);

    public final native int readInt32();

    public final native void writeInt64(long value);

    public final native long readInt64();

    public final native void writeFloat(float value);

    public final native float readFloat();

    public final native void writeDouble(double value);

    public final native double readDouble();

    public final void writeString(String value) {
        writeString(handle(), Native.utf8(value));
    }

    public final String readString() {
        return Native.text(readString(handle()));
    }

    public final void writeBoolVector(ArrayList<Boolean> value) {
        boolean[] array = new boolean[value.size()];
        for (int i = 0; i < array.length; i++) {
            array[i] = value.get(i);
        }
        writeBoolVector(array);
    }

    public final ArrayList<Boolean> readBoolVector() {
        return new ArrayList<>(Arrays.asList(HwBlob.wrapArray(readBoolVectorAsArray())));
    }

    // This method and those like it may read the array only when the parcel is sent, so it must not change.
    final native void writeBoolVector(boolean[] value);

    final native boolean[] readBoolVectorAsArray();

    public final void writeInt8Vector(ArrayList<Byte> value) {
        byte[] array = new byte[value.size()];
        for (int i = 0; i < array.length; i++) {
            array[i] = value.get(i);
        }
        writeInt8Vector(array);
    }

    public final ArrayList<Byte> readInt8Vector() {
        return new ArrayList<>(Arrays.asList(HwBlob.wrapArray(readInt8VectorAsArray())));
    }

    final native void writeInt8Vector(byte[] value);

    final native byte[] readInt8VectorAsArray();

    public final void writeInt16Vector(ArrayList<Short> value) {
        short[] array = new short[value.size()];
        for (int i = 0; i < array.length; i++) {
            array[i] = value.get(i);
        }
        writeInt16Vector(array);
    }

    public final ArrayList<Short> readInt16Vector() {
        return new ArrayList<>(Arrays.asList(HwBlob.wrapArray(readInt16VectorAsArray())));
    }

    final native void writeInt16Vector(short[] value);

    final native short[] readInt16VectorAsArray();

    public final void writeInt32Vector(ArrayList<Integer> value) {
        int[] array = new int[value.size()];
        for (int i = 0; i < array.length; i++) {
            array[i] = value.get(i);
        }
        writeInt32Vector(array);
    }

    public final ArrayList<Integer> readInt32Vector() {
        return new ArrayList<>(Arrays.asList(HwBlob.wrapArray(readInt32VectorAsArray())));
    }

    final native void writeInt32Vector(int[] value);

    final native int[] readInt32VectorAsArray();

    public final void writeInt64Vector(ArrayList<Long> value) {
        long[] array = new long[value.size()];
        for (int i = 0; i < array.length; i++) {
            array[i] = value.get(i);
        }
        writeInt64Vector(array);
    }

    public final ArrayList<Long> readInt64Vector() {
        return new ArrayList<>(Arrays.asList(HwBlob.wrapArray(readInt64VectorAsArray())));
    }

    final native void writeInt64Vector(long[] value);

    final native long[] readInt64VectorAsArray();

    public final void writeFloatVector(ArrayList<Float> value) {
        float[] array = new float[value.size()];
        for (int i = 0; i < array.length; i++) {
            array[i] = value.get(i);
        }
        writeFloatVector(array);
    }

    public final ArrayList<Float> readFloatVector() {
        return new ArrayList<>(Arrays.asList(HwBlob.wrapArray(readFloatVectorAsArray())));
    }

    final native void writeFloatVector(float[] value);

    final native float[] readFloatVectorAsArray();

    public final void writeDoubleVector(ArrayList<Double> value) {
        double[] array = new double[value.size()];
        for (int i = 0; i < array.length; i++) {
            array[i] = value.get(i);
        }
        writeDoubleVector(array);
    }

    public final ArrayList<Double> readDoubleVector() {
        return new ArrayList<>(Arrays.asList(HwBlob.wrapArray(readDoubleVectorAsArray())));
    }

    final native void writeDoubleVector(double[] value);

    final native double[] readDoubleVectorAsArray();

    public final void writeStringVector(ArrayList<String> value) {
        byte[][] texts = new byte[value.size()][];
        for (int i = 0; i < texts.length; i++) {
            texts[i] = Native.utf8(value.get(i));
        }
        writeStringVector(handle(), texts);
    }

    public final ArrayList<String> readStringVector() {
        byte[][] texts = readStringVector(handle());
        ArrayList<String> value = new ArrayList<>(texts.length);
        for (byte[] text : texts) {
            value.add(Native.text(text));
        }
        return value;
    }

    /** Writes an object, or null. */
    public final void writeStrongBinder(IHwBinder binder) {
        if (binder == null) {
            writeNoBinder(handle());
        } else if (binder instanceof HwBinder) {
            writeLocalBinder(handle(), ((HwBinder) binder).handle(), (HwBinder) binder);
        } else if (binder instanceof HwRemoteBinder) {
            writeRemoteBinder(handle(), ((HwRemoteBinder) binder).handle());
        } else {
            throw new IllegalArgumentException(binder.getClass() + " cannot be passed to another process");
        }
        Reference.reachabilityFence(binder);
    }

    /** Returns the object itself if it belongs to this process, an {@link HwRemoteBinder}, or null. */
    public final native IHwBinder readStrongBinder();

    /** Writes a handle, or null. Its descriptors must stay open until the parcel is sent. */
    public final void writeNativeHandle(NativeHandle value) {
        writeNativeHandle(handle(), value == null ? null : value.packed());
    }

    /** Returns a handle that is valid until the call ends, or null. */
    public final NativeHandle readNativeHandle() {
        int[] packed = readNativeHandle(handle());
        return packed == null ? null : NativeHandle.of(packed);
    }

    /** Writes a structure, and the buffers and strings that it refers to. */
    public final void writeBuffer(HwBlob blob) {
        blob.writeTo(this, writeBuffer(handle(), blob.bytes()));
    }

    /** Writes a buffer to which the structure {@code parent} refers at an offset. Returns its handle. */
    native long writeEmbeddedBuffer(byte[] data, long parent, long offset);

    /** Reads a structure of {@code expectedSize} bytes. */
    public final HwBlob readBuffer(long expectedSize) {
        HwBlob blob = new HwBlob(this);
        blob.received(readBuffer(handle(), expectedSize, blob));
        return blob;
    }

    /** Reads the buffer to which the structure {@code parentHandle} refers at {@code offset}. */
    public final HwBlob readEmbeddedBuffer(long expectedSize, long parentHandle, long offset, boolean nullable) {
        HwBlob ahead = readAhead;
        readAhead = null;
        // A string's size in bytes is that of its text only if the text was valid UTF-8 and the default
        // charset is UTF-8, so the size that the generated code computes is ignored.
        if (ahead != null && ahead.isReferredToBy(parentHandle, offset)) {
            return ahead;
        }
        HwBlob blob = new HwBlob(this);
        blob.received(readEmbeddedBuffer(handle(), expectedSize, parentHandle, offset, blob));
        return blob;
    }

    /** Reads the string of {@code size} bytes to which a structure refers. */
    HwBlob readAhead(long size, long parentHandle, long offset) {
        readAhead = null;
        HwBlob text = readEmbeddedBuffer(size, parentHandle, offset, false);
        text.setReferrer(parentHandle, offset);
        readAhead = text;
        return text;
    }

    public final native void writeStatus(int status);

    /**
     * Reads the status of a reply.
     *
     * @throws RemoteException if it is an error
     */
    public final void verifySuccess() throws RemoteException {
        byte[] error = readStatus(handle());
        if (error != null) {
            throw new RemoteException(Native.text(error));
        }
    }

    /** Frees the memory of a parcel that was sent, which cannot be used afterwards. */
    public final void releaseTemporaryStorage() {
        if (memory != null) {
            release();
        }
    }

    /** Frees the memory of the parcel, which cannot be used afterwards. */
    public final void release() {
        handle = 0;
        if (memory != null) {
            memory.clean();
        }
    }

    /**
     * Sends the reply of a call that this process serves. The caller continues.
     *
     * @throws IllegalStateException if the parcel is no reply, or was sent already
     */
    public final void send() {
        if (!send(handle())) {
            throw new IllegalStateException("the parcel is no reply, or was sent already");
        }
    }

    private native void writeInterfaceToken(long handle, byte[] name);

    private native boolean readInterfaceToken(long handle, byte[] name);

    private native void writeString(long handle, byte[] text);

    private native byte[] readString(long handle);

    private native void writeStringVector(long handle, byte[][] texts);

    private native byte[][] readStringVector(long handle);

    private native void writeNoBinder(long handle);

    private native void writeLocalBinder(long handle, long holder, HwBinder binder);

    private native void writeRemoteBinder(long handle, long binder);

    private native void writeNativeHandle(long handle, int[] packed);

    private native int[] readNativeHandle(long handle);

    private native long writeBuffer(long handle, byte[] data);

    private native byte[] readBuffer(long handle, long size, HwBlob into);

    private native byte[] readEmbeddedBuffer(long handle, long size, long parent, long offset, HwBlob into);

    private native byte[] readStatus(long handle);

    private native boolean send(long handle);
}
