// SPDX-License-Identifier: Apache-2.0
package android.os;

import hidlaudio.runtime.Installation;
import java.io.FileDescriptor;
import java.lang.ref.Cleaner;
import java.nio.charset.StandardCharsets;

/**
 * The native library, and its functions that need no object: the first call of one loads the library. The library
 * then looks up the other classes of this package, which initializes them. Therefore none of these may load the
 * library in its own initializer: two threads that start with different classes would wait for each other for ever.
 */
final class Native {
    /** Frees the native memory of objects that the garbage collector has found unreachable. */
    static final Cleaner CLEANER = Cleaner.create();

    static {
        System.load(Installation.nativeLibrary("libhidl_java.so").toString());
    }

    private Native() {}

    /** Returns the UTF-8 form of a text, in which an unpaired surrogate is a question mark. */
    static byte[] utf8(String text) {
        return text.getBytes(StandardCharsets.UTF_8);
    }

    /** Returns the text of UTF-8 bytes, with U+FFFD for invalid ones. */
    static String text(byte[] utf8) {
        return new String(utf8, StandardCharsets.UTF_8);
    }

    /** Creates the native part of a HwBinder. */
    static native long newBinder();

    static native void deleteBinder(long binder);

    /** Returns a service, or null if it is not found. Texts are UTF-8; a null TV is that of the environment. */
    static native IHwBinder getService(byte[] iface, byte[] name, boolean retry, byte[] tv);

    static native void configurePool(long maxThreads, boolean callerWillJoin);

    static native void joinPool();

    /** Creates the native part of a HwParcel. */
    static native long newParcel();

    static native void deleteParcel(long parcel);

    static native FileDescriptor descriptorOf(int number);

    /** Returns the number of a descriptor, or -1 for null. */
    static native int numberOf(FileDescriptor descriptor);

    /** Returns the duplicate of a descriptor, or a negative errno. */
    static native int duplicate(int number);

    static native void closeDescriptor(int number);

    static native int processId();
}
