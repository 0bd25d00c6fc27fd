// SPDX-License-Identifier: Apache-2.0
package android.os;

import hidlaudio.runtime.Installation;
import java.lang.ref.Cleaner;
import java.nio.charset.StandardCharsets;

/** The native library. Classes with native methods call {@link #load} in their initializer. */
final class Native {
    /** Frees the native memory of objects that the garbage collector has found unreachable. */
    static final Cleaner CLEANER = Cleaner.create();

    static {
        System.load(Installation.nativeLibrary("libhidl_java.so").toString());
    }

    private Native() {}

    /** Loads the library at the first call. */
    static void load() {}

    /** Returns the UTF-8 form of a text, in which an unpaired surrogate is a question mark. */
    static byte[] utf8(String text) {
        return text.getBytes(StandardCharsets.UTF_8);
    }

    /** Returns the text of UTF-8 bytes, with U+FFFD for invalid ones. */
    static String text(byte[] utf8) {
        return new String(utf8, StandardCharsets.UTF_8);
    }
}
