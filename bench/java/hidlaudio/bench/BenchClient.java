// SPDX-License-Identifier: Apache-2.0
package hidlaudio.bench;

import android.os.ArrayCall;
import com.tovi.test.bench.V1_0.IBench;
import java.io.BufferedReader;
import java.io.InputStreamReader;
import java.util.ArrayList;
import java.util.Collections;

/**
 * Makes calls of IBench for bench_java. Reads lines of a method and a number of calls, and prints the duration
 * of each call in microseconds.
 */
final class BenchClient {
    private static final int BULK = 256 * 1024;
    private static final int BYTES = 3; // the method IBench.bytes

    private interface Call {
        int run() throws Exception;
    }

    private BenchClient() {}

    public static void main(String[] arguments) throws Exception {
        IBench service = IBench.getService(arguments[0], false);
        ArrayList<Byte> data = new ArrayList<>(Collections.nCopies(BULK, (byte) 1));
        byte[] array = new byte[BULK];
        BufferedReader input = new BufferedReader(new InputStreamReader(System.in));
        for (String line = input.readLine(); line != null; line = input.readLine()) {
            String[] words = line.split(" ");
            int count = Integer.parseInt(words[1]);
            System.out.println(switch (words[0]) {
                case "small" -> measure(count, 1, () -> service.small(1));
                case "list" -> measure(count, BULK, () -> service.bytes(data));
                default -> measure(count, BULK,
                        () -> ArrayCall.call(service.asBinder(), IBench.kInterfaceName, BYTES, array));
            });
        }
    }

    private static double measure(int count, int expected, Call call) throws Exception {
        long start = System.nanoTime();
        for (int i = 0; i < count; i++) {
            if (call.run() != expected) {
                throw new IllegalStateException("wrong result");
            }
        }
        return (System.nanoTime() - start) / 1000.0 / count;
    }
}
