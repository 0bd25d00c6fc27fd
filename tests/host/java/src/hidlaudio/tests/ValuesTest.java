// SPDX-License-Identifier: Apache-2.0
package hidlaudio.tests;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;

import android.os.DeadObjectException;
import android.os.RemoteException;
import com.tovi.test.javaprobe.V1_0.Everything;
import com.tovi.test.javaprobe.V1_0.Item;
import com.tovi.test.javaprobe.V1_0.Vectors;
import com.tovi.test.javaprobe.V1_1.IJavaProbe;
import hidlaudio.junit.Tv;
import hidlaudio.junit.TvOptions;
import hidlaudio.junit.VirtualTv;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;
import org.junit.jupiter.api.AfterAll;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.ExtendWith;

/** Values that go to a C++ service and back. */
@ExtendWith(VirtualTv.class)
@TvOptions(perClass = true, boot = false)
class ValuesTest {
    private static ProbeProcess service;
    private IJavaProbe probe;

    @BeforeAll
    static void start(Tv tv) throws Exception {
        service = ProbeProcess.start(tv);
    }

    @AfterAll
    static void stop() {
        service.close();
    }

    @BeforeEach
    void find() throws Exception {
        probe = service.get();
    }

    @Test
    void numbersKeepTheirValue() throws Exception {
        Object[][] rows = {
            {true, Byte.MIN_VALUE, Short.MIN_VALUE, Integer.MIN_VALUE, Long.MIN_VALUE, Float.MIN_VALUE, Double.NaN},
            {false, Byte.MAX_VALUE, Short.MAX_VALUE, Integer.MAX_VALUE, Long.MAX_VALUE, Float.NEGATIVE_INFINITY, -0.0},
        };
        for (Object[] row : rows) {
            Object[][] same = new Object[1][];
            probe.echoNumbers((Boolean) row[0], (Byte) row[1], (Short) row[2], (Integer) row[3], (Long) row[4],
                    (Float) row[5], (Double) row[6], (truth, small, medium, large, huge, real, precise) ->
                            same[0] = new Object[] {truth, small, medium, large, huge, real, precise});
            assertArrayEquals(row, same[0]);
        }
    }

    @Test
    void textsBecomeUtf8() throws Exception {
        String[][] rows = {
            {"", ""}, {"a\0b\0", "a\0b\0"}, {"äß€\ud83d\ude00", "äß€\ud83d\ude00"},
            {"\ud800", "?"}, {"x\udc00y", "x?y"}, {"\ude00\ud83d", "??"},
            {"z".repeat(100 * 1024), "z".repeat(100 * 1024)}, {"€".repeat(50 * 1024), "€".repeat(50 * 1024)},
        };
        for (String[] row : rows) {
            assertEquals(row[1], probe.echoText(row[0]));
            Everything value = new Everything();
            Arrays.fill(value.twoTexts, row[0]);
            value.text = row[0];
            value.items.add(new Item());
            value.items.get(0).notes.add(row[0]);
            Everything same = probe.echo(value);
            assertEquals(row[1], same.text);
            assertEquals(List.of(row[1], row[1]), List.of(same.twoTexts));
            assertEquals(List.of(row[1]), same.items.get(0).notes);
        }
    }

    @Test
    void structuresKeepTheirContent() throws Exception {
        Everything value = new Everything();
        value.truth = true;
        value.small = -1;
        value.medium = -2;
        value.large = -3;
        value.huge = -4;
        value.real = 0.1f;
        value.precise = 0.1;
        value.text = "text";
        value.threeNumbers[2] = 3;
        Arrays.fill(value.twoTexts, "two");
        value.truths.addAll(List.of(true, false, true));
        value.numbers.addAll(List.of(1.5, -0.0, Double.MAX_VALUE));
        value.hugeNumbers.addAll(Collections.nCopies(1000, Long.MIN_VALUE));
        value.item.name = "inner";
        for (int i = 0; i < 300; i++) {
            Item item = new Item();
            item.name = "item " + i;
            item.enabled = i % 2 == 0;
            item.gains.addAll(Collections.nCopies(i, (float) i));
            item.notes.addAll(List.of("", "note"));
            value.items.add(item);
        }
        Everything same = probe.echo(value);
        assertEquals(value, same);
        assertEquals(value.hashCode(), same.hashCode());
    }

    @Test
    void vectorsOfAllTypesKeepTheirElements() throws Exception {
        for (int size : new int[] {0, 1, 5000}) {
            Vectors same = probe.echoVectors(list(size, true), list(size, (byte) -1), list(size, (short) -2),
                    list(size, -3), list(size, -4L), list(size, 0.1f), list(size, -0.1), list(size, "text"));
            assertEquals(list(size, true), same.bools);
            assertEquals(list(size, (byte) -1), same.int8s);
            assertEquals(list(size, (short) -2), same.int16s);
            assertEquals(list(size, -3), same.int32s);
            assertEquals(list(size, -4L), same.int64s);
            assertEquals(list(size, 0.1f), same.floats);
            assertEquals(list(size, -0.1), same.doubles);
            assertEquals(list(size, "text"), same.strings);
        }
    }

    @Test
    void transactionsUpToTheLimitPass() throws Exception {
        int limit = 1012 * 1024;
        assertEquals(limit, probe.sumBytes(list(limit, (byte) 1)));
        assertEquals(limit, probe.makeBytes(limit).size());
        int[] tooLarge = {1016 * 1024, 2000000};
        for (int size : tooLarge) {
            assertFails(() -> probe.sumBytes(list(size, (byte) 1)));
            assertFails(() -> probe.makeBytes(size));
            assertFails(() -> probe.takeBytes(list(size, (byte) 1)));
            assertFails(() -> probe.echoText("t".repeat(size)));
            Everything value = new Everything();
            Arrays.fill(value.twoTexts, "");
            value.text = "t".repeat(size);
            assertFails(() -> probe.echo(value));
        }
        assertFails(() -> probe.takeBytes(list(600 * 1024, (byte) 1))); // oneway: half of it
        probe.takeBytes(list(400 * 1024, (byte) 1));
        Tv.waitUntil("no takeBytes", () -> eventsOf(probe).contains("took " + 400 * 1024));
    }

    @Test
    void nullValuesAreRefusedWhenTheyAreWritten() {
        assertThrows(NullPointerException.class, () -> probe.echoText(null));
        assertThrows(NullPointerException.class, () -> probe.sumBytes(null));
        ArrayList<Byte> withNull = new ArrayList<>(Collections.singletonList(null));
        assertThrows(NullPointerException.class, () -> probe.sumBytes(withNull));
        assertThrows(NullPointerException.class, () -> probe.echo(new Everything())); // twoTexts
        Everything wrongLength = new Everything();
        wrongLength.threeNumbers = new short[2];
        assertThrows(IllegalArgumentException.class, () -> probe.echo(wrongLength));
    }

    static List<String> eventsOf(IJavaProbe probe) {
        try {
            return probe.events();
        } catch (RemoteException failed) {
            throw failed.rethrowAsRuntimeException();
        }
    }

    private static void assertFails(org.junit.jupiter.api.function.Executable call) {
        RemoteException failure = assertThrows(RemoteException.class, call);
        assertEquals(false, failure instanceof DeadObjectException, failure.getMessage());
    }

    private static <T> ArrayList<T> list(int size, T element) {
        return new ArrayList<>(Collections.nCopies(size, element));
    }
}
