// SPDX-License-Identifier: Apache-2.0
package android.os;

import java.io.Closeable;
import java.io.FileDescriptor;
import java.io.IOException;
import java.util.Arrays;

/**
 * File descriptors and integers that are passed to another process. A handle that a call receives is valid
 * until the call ends, unless it is duplicated with {@link #dup}.
 */
public final class NativeHandle implements Closeable {
    private FileDescriptor[] descriptors;
    private final int[] ints;
    private boolean owns;

    /** Creates a handle without descriptors and integers. */
    public NativeHandle() {
        this(new FileDescriptor[0], new int[0], false);
    }

    /** Creates a handle of one descriptor. */
    public NativeHandle(FileDescriptor descriptor, boolean own) {
        this(new FileDescriptor[] {descriptor}, new int[0], own);
    }

    /**
     * Creates a handle.
     *
     * @param own whether {@link #close} closes the descriptors
     */
    public NativeHandle(FileDescriptor[] fds, int[] ints, boolean own) {
        this.descriptors = fds.clone();
        this.ints = ints.clone();
        this.owns = own;
    }

    /** Creates a handle from its form in {@link HwParcel}: the number of descriptors, these, the integers. */
    static NativeHandle of(int[] packed) {
        FileDescriptor[] descriptors = new FileDescriptor[packed[0]];
        for (int i = 0; i < descriptors.length; i++) {
            descriptors[i] = Native.descriptorOf(packed[i + 1]);
        }
        return new NativeHandle(
                descriptors, Arrays.copyOfRange(packed, descriptors.length + 1, packed.length), false);
    }

    /** Returns that form. */
    int[] packed() {
        checkOpen();
        int[] packed = new int[1 + descriptors.length + ints.length];
        packed[0] = descriptors.length;
        for (int i = 0; i < descriptors.length; i++) {
            packed[i + 1] = Native.numberOf(descriptors[i]);
        }
        System.arraycopy(ints, 0, packed, descriptors.length + 1, ints.length);
        return packed;
    }

    /** Returns whether the handle consists of one descriptor and no integer. */
    public boolean hasSingleFileDescriptor() {
        checkOpen();
        return descriptors.length == 1 && ints.length == 0;
    }

    /** Returns a copy whose descriptors are duplicates, which it owns. */
    public NativeHandle dup() throws IOException {
        checkOpen();
        FileDescriptor[] copies = new FileDescriptor[descriptors.length];
        for (int i = 0; i < copies.length; i++) {
            int copy = Native.duplicate(Native.numberOf(descriptors[i]));
            if (copy < 0) {
                closeAll(copies, i);
                throw new IOException("cannot duplicate a descriptor: error " + -copy);
            }
            copies[i] = Native.descriptorOf(copy);
        }
        return new NativeHandle(copies, ints, true);
    }

    /** Closes the descriptors if the handle owns them. The handle cannot be used afterwards. */
    @Override
    public void close() throws IOException {
        checkOpen();
        if (owns) {
            closeAll(descriptors, descriptors.length);
        }
        owns = false;
        descriptors = null;
    }

    /**
     * Returns the only descriptor.
     *
     * @throws IllegalStateException if the handle consists of more
     */
    public FileDescriptor getFileDescriptor() {
        if (!hasSingleFileDescriptor()) {
            throw new IllegalStateException("the handle is not a single descriptor");
        }
        return descriptors[0];
    }

    public FileDescriptor[] getFileDescriptors() {
        checkOpen();
        return descriptors.clone();
    }

    public int[] getInts() {
        checkOpen();
        return ints.clone();
    }

    private void checkOpen() {
        if (descriptors == null) {
            throw new IllegalStateException("the handle is closed");
        }
    }

    private static void closeAll(FileDescriptor[] descriptors, int count) {
        for (int i = 0; i < count; i++) {
            Native.closeDescriptor(Native.numberOf(descriptors[i]));
        }
    }
}
