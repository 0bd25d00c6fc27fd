// SPDX-License-Identifier: Apache-2.0
package android.os;

import java.lang.invoke.MethodHandles;
import java.lang.invoke.VarHandle;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.util.Arrays;
import java.util.LinkedHashMap;
import java.util.Map;

/**
 * A structure, or the elements of a vector, in the layout of C++. A string or vector takes 16 bytes of it: a
 * pointer, a size and a flag. All methods throw IndexOutOfBoundsException if a value exceeds the blob.
 */
public class HwBlob {
    private static final int OFFSET_OF_SIZE = 8;
    private static final int OFFSET_OF_OWNER = 12;
    private static final int SIZE_OF_STRING = 16;
    private static final VarHandle INT16 = view(short[].class);
    private static final VarHandle INT32 = view(int[].class);
    private static final VarHandle INT64 = view(long[].class);
    private static final VarHandle FLOAT = view(float[].class);
    private static final VarHandle DOUBLE = view(double[].class);

    // The blobs to which the pointers of this blob refer, by the pointer's offset, in the order of the puts.
    private final Map<Long, HwBlob> references = new LinkedHashMap<>();
    private final HwParcel parcel;
    private byte[] bytes;
    // Handle of a received blob in the parcel, set by the native code.
    private long handle;
    // If this blob is a string that was read ahead: the structure that refers to it.
    private long parent = -1;
    private long parentOffset;

    /** Creates a blob of zeros. */
    public HwBlob(int size) {
        bytes = new byte[size];
        parcel = null;
    }

    /** Creates a blob that {@link #received} will fill. */
    HwBlob(HwParcel parcel) {
        this.parcel = parcel;
    }

    private static VarHandle view(Class<?> array) {
        return MethodHandles.byteArrayViewVarHandle(array, ByteOrder.nativeOrder());
    }

    /** Returns the handle of a received blob, for {@link HwParcel#readEmbeddedBuffer}. */
    public final long handle() {
        return handle;
    }

    public final boolean getBool(long offset) {
        return bytes[index(offset, 1)] != 0;
    }

    public final void putBool(long offset, boolean value) {
        bytes[index(offset, 1)] = (byte) (value ? 1 : 0);
    }

    public final byte getInt8(long offset) {
        return bytes[index(offset, 1)];
    }

    public final void putInt8(long offset, byte value) {
        bytes[index(offset, 1)] = value;
    }

    public final short getInt16(long offset) {
        return (short) INT16.get(bytes, index(offset, Short.BYTES));
    }

    public final void putInt16(long offset, short value) {
        INT16.set(bytes, index(offset, Short.BYTES), value);
    }

    public final int getInt32(long offset) {
        return (int) INT32.get(bytes, index(offset, Integer.BYTES));
    }

    public final void putInt32(long offset, int value) {
        INT32.set(bytes, index(offset, Integer.BYTES), value);
    }

    public final long getInt64(long offset) {
        return (long) INT64.get(bytes, index(offset, Long.BYTES));
    }

    public final void putInt64(long offset, long value) {
        INT64.set(bytes, index(offset, Long.BYTES), value);
    }

    public final float getFloat(long offset) {
        return (float) FLOAT.get(bytes, index(offset, Float.BYTES));
    }

    public final void putFloat(long offset, float value) {
        FLOAT.set(bytes, index(offset, Float.BYTES), value);
    }

    public final double getDouble(long offset) {
        return (double) DOUBLE.get(bytes, index(offset, Double.BYTES));
    }

    public final void putDouble(long offset, double value) {
        DOUBLE.set(bytes, index(offset, Double.BYTES), value);
    }

    public final String getString(long offset) {
        int size = getInt32(index(offset, SIZE_OF_STRING) + OFFSET_OF_SIZE);
        byte[] text = stringAt(size, offset);
        if (size < 0 || text.length != size + 1 || text[size] != 0) {
            throw new IllegalArgumentException("no string at offset " + offset);
        }
        return Native.text(Arrays.copyOf(text, size));
    }

    public final void putString(long offset, String value) {
        byte[] text = Native.utf8(value);
        putHead(offset, text.length);
        references.put(offset, new HwBlob(Arrays.copyOf(text, text.length + 1)));
    }

    /** Makes the pointer at the offset refer to another blob. */
    public final void putBlob(long offset, HwBlob blob) {
        putInt64(offset, 0);
        references.put(offset, blob);
    }

    /** Copies {@code size} elements at the offset to the array. */
    public final void copyToBoolArray(long offset, boolean[] array, int size) {
        checkSize(array.length, size);
        index(offset, size);
        for (int i = 0; i < size; i++) {
            array[i] = getBool(offset + i);
        }
    }

    public final void putBoolArray(long offset, boolean[] values) {
        index(offset, values.length);
        for (int i = 0; i < values.length; i++) {
            putBool(offset + i, values[i]);
        }
    }

    public static Boolean[] wrapArray(boolean[] array) {
        Boolean[] boxes = new Boolean[array.length];
        for (int i = 0; i < boxes.length; i++) {
            boxes[i] = array[i];
        }
        return boxes;
    }

    /** Copies {@code size} elements at the offset to the array. */
    public final void copyToInt8Array(long offset, byte[] array, int size) {
        checkSize(array.length, size);
        System.arraycopy(bytes, index(offset, size), array, 0, size);
    }

    public final void putInt8Array(long offset, byte[] values) {
        System.arraycopy(values, 0, bytes, index(offset, values.length), values.length);
    }

    public static Byte[] wrapArray(byte[] array) {
        Byte[] boxes = new Byte[array.length];
        for (int i = 0; i < boxes.length; i++) {
            boxes[i] = array[i];
        }
        return boxes;
    }

    /** Copies {@code size} elements at the offset to the array. */
    public final void copyToInt16Array(long offset, short[] array, int size) {
        checkSize(array.length, size);
        elements(offset, size, Short.BYTES).asShortBuffer().get(array, 0, size);
    }

    public final void putInt16Array(long offset, short[] values) {
        elements(offset, values.length, Short.BYTES).asShortBuffer().put(values);
    }

    public static Short[] wrapArray(short[] array) {
        Short[] boxes = new Short[array.length];
        for (int i = 0; i < boxes.length; i++) {
            boxes[i] = array[i];
        }
        return boxes;
    }

    /** Copies {@code size} elements at the offset to the array. */
    public final void copyToInt32Array(long offset, int[] array, int size) {
        checkSize(array.length, size);
        elements(offset, size, Integer.BYTES).asIntBuffer().get(array, 0, size);
    }

    public final void putInt32Array(long offset, int[] values) {
        elements(offset, values.length, Integer.BYTES).asIntBuffer().put(values);
    }

    public static Integer[] wrapArray(int[] array) {
        Integer[] boxes = new Integer[array.length];
        for (int i = 0; i < boxes.length; i++) {
            boxes[i] = array[i];
        }
        return boxes;
    }

    /** Copies {@code size} elements at the offset to the array. */
    public final void copyToInt64Array(long offset, long[] array, int size) {
        checkSize(array.length, size);
        elements(offset, size, Long.BYTES).asLongBuffer().get(array, 0, size);
    }

    public final void putInt64Array(long offset, long[] values) {
        elements(offset, values.length, Long.BYTES).asLongBuffer().put(values);
    }

    public static Long[] wrapArray(long[] array) {
        Long[] boxes = new Long[array.length];
        for (int i = 0; i < boxes.length; i++) {
            boxes[i] = array[i];
        }
        return boxes;
    }

    /** Copies {@code size} elements at the offset to the array. */
    public final void copyToFloatArray(long offset, float[] array, int size) {
        checkSize(array.length, size);
        elements(offset, size, Float.BYTES).asFloatBuffer().get(array, 0, size);
    }

    public final void putFloatArray(long offset, float[] values) {
        elements(offset, values.length, Float.BYTES).asFloatBuffer().put(values);
    }

    public static Float[] wrapArray(float[] array) {
        Float[] boxes = new Float[array.length];
        for (int i = 0; i < boxes.length; i++) {
            boxes[i] = array[i];
        }
        return boxes;
    }

    /** Copies {@code size} elements at the offset to the array. */
    public final void copyToDoubleArray(long offset, double[] array, int size) {
        checkSize(array.length, size);
        elements(offset, size, Double.BYTES).asDoubleBuffer().get(array, 0, size);
    }

    public final void putDoubleArray(long offset, double[] values) {
        elements(offset, values.length, Double.BYTES).asDoubleBuffer().put(values);
    }

    public static Double[] wrapArray(double[] array) {
        Double[] boxes = new Double[array.length];
        for (int i = 0; i < boxes.length; i++) {
            boxes[i] = array[i];
        }
        return boxes;
    }

    byte[] bytes() {
        return bytes;
    }

    void received(byte[] content) {
        bytes = content;
    }

    void setReferrer(long parentHandle, long offset) {
        parent = parentHandle;
        parentOffset = offset;
    }

    boolean isReferredToBy(long parentHandle, long offset) {
        return parent == parentHandle && parentOffset == offset;
    }

    /** Writes all that this blob refers to. Its own bytes were written as {@code ownHandle}. */
    void writeTo(HwParcel target, long ownHandle) {
        references.forEach((offset, blob) ->
                blob.writeTo(target, target.writeEmbeddedBuffer(blob.bytes, ownHandle, offset)));
    }

    private HwBlob(byte[] content) {
        bytes = content;
        parcel = null;
    }

    // Returns the bytes of a string with its NUL. Those of a received blob are read from the parcel once.
    private byte[] stringAt(int size, long offset) {
        HwBlob known = references.get(offset);
        if (known != null) {
            return known.bytes;
        }
        if (parcel == null || size < 0) {
            throw new IllegalArgumentException("no string at offset " + offset);
        }
        HwBlob text = parcel.readAhead(size + 1L, handle, offset);
        references.put(offset, text);
        return text.bytes;
    }

    private void putHead(long offset, int size) {
        putInt64(index(offset, SIZE_OF_STRING), 0);
        putInt32(offset + OFFSET_OF_SIZE, size);
        putBool(offset + OFFSET_OF_OWNER, false);
    }

    /** Returns the part of the blob that {@code count} numbers of {@code width} bytes take. */
    private ByteBuffer elements(long offset, int count, int width) {
        int start = index(offset, (long) count * width);
        return ByteBuffer.wrap(bytes, start, count * width).order(ByteOrder.nativeOrder());
    }

    private int index(long offset, long size) {
        if (offset < 0 || size > bytes.length || offset > bytes.length - size) {
            throw new IndexOutOfBoundsException(
                    size + " bytes at offset " + offset + " of a blob of " + bytes.length);
        }
        return (int) offset;
    }

    private static void checkSize(int available, int size) {
        if (size < 0 || size > available) {
            throw new IndexOutOfBoundsException(size + " elements for an array of " + available);
        }
    }
}
