// SPDX-License-Identifier: Apache-2.0
package hidlaudio.tests;

import com.tovi.test.javaprobe.V1_0.Everything;
import com.tovi.test.javaprobe.V1_0.ICallback;
import com.tovi.test.javaprobe.V1_0.Vectors;
import com.tovi.test.javaprobe.V1_1.IJavaProbe;
import java.util.ArrayList;
import java.util.Collections;

/** The service in Java. */
class JavaProbe extends IJavaProbe.Stub {
    volatile int noted;
    private ICallback callback;

    @Override
    public Everything echo(Everything value) {
        return value;
    }

    @Override
    public void echoNumbers(boolean truth, byte small, short medium, int large, long huge, float real, double precise,
            echoNumbersCallback reply) {
        reply.onValues(truth, small, medium, large, huge, real, precise);
    }

    @Override
    public String echoText(String text) {
        return text;
    }

    @Override
    public Vectors echoVectors(ArrayList<Boolean> bools, ArrayList<Byte> int8s, ArrayList<Short> int16s,
            ArrayList<Integer> int32s, ArrayList<Long> int64s, ArrayList<Float> floats, ArrayList<Double> doubles,
            ArrayList<String> strings) {
        throw new UnsupportedOperationException("echoVectors");
    }

    @Override
    public long sumBytes(ArrayList<Byte> data) {
        return data.stream().mapToLong(Byte::longValue).sum();
    }

    @Override
    public ArrayList<Byte> makeBytes(int size) {
        return new ArrayList<>(Collections.nCopies(size, (byte) 7));
    }

    @Override
    public void takeBytes(ArrayList<Byte> data) {}

    @Override
    public void setCallback(ICallback given) {
        callback = given;
    }

    @Override
    public ICallback getCallback() {
        return callback;
    }

    @Override
    public long callBack(int times) {
        return times;
    }

    @Override
    public void callBackLater(int times) {
        if (times < 0) {
            throw new IllegalArgumentException("negative");
        }
    }

    @Override
    public void note(int value) {
        noted = value;
    }

    @Override
    public ArrayList<String> events() {
        return new ArrayList<>();
    }

    @Override
    public ArrayList<String> useService(String instance) {
        return new ArrayList<>();
    }

    @Override
    public int number() {
        return 12;
    }
}
