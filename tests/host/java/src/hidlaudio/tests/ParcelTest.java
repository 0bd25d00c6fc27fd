// SPDX-License-Identifier: Apache-2.0
package hidlaudio.tests;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertDoesNotThrow;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import android.os.HidlSupport;
import android.os.HwBlob;
import android.os.HwParcel;
import android.os.NativeHandle;
import java.io.File;
import java.io.FileDescriptor;
import java.io.FileInputStream;
import java.io.FileOutputStream;
import java.io.IOException;
import java.net.URL;
import java.net.URLClassLoader;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.HashMap;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.function.Consumer;
import java.util.jar.JarEntry;
import java.util.jar.JarFile;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.function.Executable;

/** The classes that generated code uses, called directly. */
class ParcelTest {
    /** Writes a parcel, and reads it as an object of this process receives it. */
    private static final class Loop extends JavaProbe {
        private final Consumer<HwParcel> reader;

        Loop(Consumer<HwParcel> reader) {
            this.reader = reader;
        }

        @Override
        public void onTransact(int code, HwParcel request, HwParcel reply, int flags) {
            reader.accept(request);
            reply.send();
            assertThrows(IllegalStateException.class, reply::send);
        }
    }

    private static void pass(Consumer<HwParcel> writer, Consumer<HwParcel> reader) throws Exception {
        HwParcel request = new HwParcel();
        writer.accept(request);
        new Loop(reader).transact(1, request, new HwParcel(), 0);
    }

    @Test
    void onlyNativeLoadsTheLibraryInItsInitializer() throws Exception {
        HidlSupport.getPidIfSharable(); // loads it, so that another class loader cannot
        URL jar = HwParcel.class.getProtectionDomain().getCodeSource().getLocation();
        try (URLClassLoader loader = new URLClassLoader(new URL[] {jar}, ClassLoader.getPlatformClassLoader());
                JarFile file = new JarFile(new File(jar.toURI()))) {
            List<String> names = file.stream().map(JarEntry::getName).filter(name -> name.endsWith(".class"))
                    .map(name -> name.replace(".class", "").replace('/', '.')).toList();
            assertTrue(names.contains(HwParcel.class.getName()));
            for (String name : names) {
                boolean loads = name.equals("android.os.Native");
                Executable initialize = () -> Class.forName(name, true, loader);
                if (loads) {
                    assertThrows(UnsatisfiedLinkError.class, initialize);
                } else {
                    assertDoesNotThrow(initialize, name);
                }
            }
        }
    }

    @Test
    void readersRefuseWhatIsNotThere() throws Exception {
        Map<String, Consumer<HwParcel>> readers = new LinkedHashMap<>();
        readers.put("int8", HwParcel::readInt8);
        readers.put("int64", HwParcel::readInt64);
        readers.put("double", HwParcel::readDouble);
        readers.put("string", HwParcel::readString);
        readers.put("strings", HwParcel::readStringVector);
        readers.put("bytes", HwParcel::readInt8Vector);
        readers.put("floats", HwParcel::readFloatVector);
        readers.put("handle", HwParcel::readNativeHandle);
        readers.put("buffer", parcel -> parcel.readBuffer(16));
        readers.put("buffer of negative size", parcel -> parcel.readBuffer(-1));
        readers.put("huge buffer", parcel -> parcel.readBuffer(Integer.MAX_VALUE));
        readers.put("embedded buffer", parcel -> parcel.readEmbeddedBuffer(1, 0, 0, false));
        readers.put("binder", HwParcel::readStrongBinder);
        for (Map.Entry<String, Consumer<HwParcel>> reader : readers.entrySet()) {
            pass(parcel -> {}, parcel -> assertRefused(reader));
            pass(parcel -> parcel.writeInt8((byte) 1), parcel -> {
                parcel.readInt8();
                assertRefused(reader, parcel);
            });
        }
    }

    private static void assertRefused(Map.Entry<String, Consumer<HwParcel>> reader) {
        HwParcel empty = new HwParcel();
        assertRefused(reader, empty);
    }

    private static void assertRefused(Map.Entry<String, Consumer<HwParcel>> reader, HwParcel parcel) {
        assertThrows(RuntimeException.class, () -> reader.getValue().accept(parcel), reader.getKey());
    }

    @Test
    void blobsKeepStructures() throws Exception {
        HwBlob inner = new HwBlob(8);
        inner.putDouble(0, 0.5);
        HwBlob outer = new HwBlob(64);
        outer.putString(0, "replaced");
        outer.putBlob(16, inner);
        outer.putString(0, "text");
        outer.putInt16Array(32, new short[] {1, 2, 3});
        assertEquals("text", outer.getString(0));
        pass(parcel -> parcel.writeBuffer(outer), parcel -> {
            HwBlob read = parcel.readBuffer(64);
            assertEquals("text", read.getString(0));
            assertEquals("text", read.getString(0));
            parcel.readEmbeddedBuffer(5, read.handle(), 0, false);
            assertEquals(0.5, parcel.readEmbeddedBuffer(8, read.handle(), 16, true).getDouble(0));
            short[] numbers = new short[3];
            read.copyToInt16Array(32, numbers, 3);
            assertArrayEquals(new short[] {1, 2, 3}, numbers);
            assertThrows(IllegalArgumentException.class, () -> read.getString(48));
        });
    }

    @Test
    void blobsKeepArrays() {
        HwBlob blob = new HwBlob(24);
        blob.putInt32Array(8, new int[] {1, -2});
        int[] ints = new int[3];
        blob.copyToInt32Array(8, ints, 2);
        assertArrayEquals(new int[] {1, -2, 0}, ints);
        assertEquals(-2, blob.getInt32(12));
        blob.putInt64Array(8, new long[] {1, -2});
        long[] longs = new long[2];
        blob.copyToInt64Array(8, longs, 2);
        assertArrayEquals(new long[] {1, -2}, longs);
        blob.putFloatArray(4, new float[] {0.5f, -1});
        float[] floats = new float[2];
        blob.copyToFloatArray(4, floats, 2);
        assertArrayEquals(new float[] {0.5f, -1}, floats);
        assertEquals(-1, blob.getFloat(8));
        blob.putDoubleArray(8, new double[] {0.5, -1});
        double[] doubles = new double[2];
        blob.copyToDoubleArray(8, doubles, 2);
        assertArrayEquals(new double[] {0.5, -1}, doubles);
        assertThrows(IndexOutOfBoundsException.class, () -> blob.putDoubleArray(9, new double[2]));
        assertThrows(IndexOutOfBoundsException.class, () -> blob.copyToFloatArray(20, new float[2], 2));
    }

    @Test
    void blobsCheckBounds() {
        HwBlob blob = new HwBlob(16);
        long[] offsets = {-1, Long.MIN_VALUE, 9, 16, 17, Integer.MAX_VALUE, 1L << 32, Long.MAX_VALUE};
        for (long offset : offsets) {
            List<Executable> calls = List.of(
                    () -> blob.getInt64(offset), () -> blob.putInt64(offset, 1), () -> blob.getDouble(offset),
                    () -> blob.putDouble(offset, 1), () -> blob.putString(offset, "x"), () -> blob.getString(offset),
                    () -> blob.putBlob(offset, blob), () -> blob.putInt8Array(offset, new byte[8]),
                    () -> blob.copyToInt8Array(offset, new byte[8], 8), () -> blob.putInt64Array(offset, new long[1]),
                    () -> blob.copyToInt64Array(offset, new long[1], 1), () -> blob.copyToBoolArray(offset, new boolean[8], 8));
            calls.forEach(call -> assertThrows(IndexOutOfBoundsException.class, call, "offset " + offset));
        }
        assertThrows(IndexOutOfBoundsException.class, () -> blob.copyToInt8Array(0, new byte[1], 2));
        assertThrows(IndexOutOfBoundsException.class, () -> blob.copyToInt32Array(0, new int[1], -1));
        assertThrows(NegativeArraySizeException.class, () -> new HwBlob(-1));
        assertArrayEquals(new Boolean[] {true}, HwBlob.wrapArray(new boolean[] {true}));
    }

    @Test
    void releasedParcelsCannotBeUsed() {
        HwParcel parcel = new HwParcel();
        parcel.writeInt32(1);
        parcel.release();
        parcel.release();
        for (Executable use : List.<Executable>of(
                () -> parcel.writeInt32(2), parcel::readInt32, () -> parcel.writeInt8Vector(new ArrayList<>()),
                parcel::readInt8Vector, parcel::readString, () -> parcel.writeStrongBinder(null),
                parcel::readStrongBinder, () -> parcel.writeBuffer(new HwBlob(8)), () -> parcel.writeStatus(0))) {
            assertThrows(IllegalStateException.class, use);
        }
        HwParcel[] kept = new HwParcel[1];
        assertThrows(IllegalStateException.class, () -> {
            pass(request -> request.writeInt32(3), request -> kept[0] = request);
            kept[0].readInt32();
        });
    }

    @Test
    void handlesPassDescriptors() throws Exception {
        File file = File.createTempFile("hidlaudio", ".txt");
        file.deleteOnExit();
        try (FileOutputStream output = new FileOutputStream(file)) {
            NativeHandle[] received = new NativeHandle[2];
            NativeHandle given = new NativeHandle(new FileDescriptor[] {output.getFD()}, new int[] {1, -2}, false);
            pass(parcel -> {
                parcel.writeNativeHandle(given);
                parcel.writeNativeHandle(null);
            }, parcel -> {
                received[0] = dup(parcel.readNativeHandle());
                received[1] = parcel.readNativeHandle();
            });
            assertEquals(null, received[1]);
            assertArrayEquals(new int[] {1, -2}, received[0].getInts());
            assertFalse(received[0].hasSingleFileDescriptor());
            assertThrows(IllegalStateException.class, received[0]::getFileDescriptor);
            new FileOutputStream(received[0].getFileDescriptors()[0]).write(65);
            received[0].close();
            assertThrows(IllegalStateException.class, received[0]::getInts);
            output.write(66);
        }
        try (FileInputStream input = new FileInputStream(file)) {
            assertArrayEquals(new byte[] {65, 66}, input.readAllBytes());
        }
    }

    private static NativeHandle dup(NativeHandle handle) {
        try {
            return handle.dup();
        } catch (IOException failed) {
            throw new IllegalStateException(failed);
        }
    }

    @Test
    void valuesAreComparedInDepth() {
        Object[][] equal = {
            {null, null}, {1, 1}, {new int[] {1, 2}, new int[] {1, 2}},
            {new String[][] {{"a"}, null}, new String[][] {{"a"}, null}},
            {List.of(new byte[] {1}), new ArrayList<>(Arrays.asList(new byte[] {1}))},
        };
        for (Object[] pair : equal) {
            assertTrue(HidlSupport.deepEquals(pair[0], pair[1]));
            assertEquals(HidlSupport.deepHashCode(pair[0]), HidlSupport.deepHashCode(pair[1]));
        }
        Object[][] different = {
            {null, 1}, {1, null}, {1, 1L}, {new int[] {1}, new int[] {2}}, {new int[] {1}, new long[] {1}},
            {new int[] {1}, new int[] {1, 1}}, {List.of(1), List.of(1, 2)}, {List.of(1), new int[] {1}},
        };
        for (Object[] pair : different) {
            assertFalse(HidlSupport.deepEquals(pair[0], pair[1]));
        }
        assertNotEquals(HidlSupport.deepHashCode(new int[] {1, 2}), HidlSupport.deepHashCode(new int[] {2, 1}));
        for (Object unordered : List.of(Set.of(1), new HashMap<>())) {
            assertThrows(UnsupportedOperationException.class, () -> HidlSupport.deepEquals(unordered, 1));
            assertThrows(UnsupportedOperationException.class, () -> HidlSupport.deepHashCode(unordered));
        }
        assertEquals(ProcessHandle.current().pid(), HidlSupport.getPidIfSharable());
    }
}
