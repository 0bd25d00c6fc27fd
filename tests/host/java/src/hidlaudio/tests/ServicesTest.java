// SPDX-License-Identifier: Apache-2.0
package hidlaudio.tests;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import android.os.NativeHandle;
import com.tovi.dtv.hardware.audio.V1_1.IHdmiAudioCallback;
import com.tovi.dtv.hardware.audio.V2_0.IOutputEncodingStatusListener;
import com.tovi.dtv.hardware.audio.V3_0.calibratedData;
import com.tovi.dtv.hardware.audio.V5_0.IHeadphoneVirtualizerCallback;
import com.tovi.dtv.hardware.audio.V5_1.IHeadphoneVirtualizer;
import com.tovi.dtv.hardware.audio.V6_1.IOutputSpeaker;
import hidlaudio.junit.Tv;
import hidlaudio.junit.VirtualTv;
import java.io.File;
import java.io.FileOutputStream;
import java.io.RandomAccessFile;
import java.lang.reflect.Field;
import java.lang.reflect.Method;
import java.lang.reflect.Modifier;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.LinkedHashSet;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.TreeMap;
import java.util.concurrent.LinkedBlockingQueue;
import java.util.concurrent.TimeUnit;
import java.util.jar.JarFile;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.ExtendWith;

@ExtendWith(VirtualTv.class)
class ServicesTest {
    private static final String PACKAGE = "com.tovi.dtv.hardware.audio";
    private static final Set<String> BASE_METHODS = methodsOf(android.hidl.base.V1_0.IBase.class);

    private final Map<Class<?>, Object> callbacks = Map.of(
            IHdmiAudioCallback.class, new IHdmiAudioCallback.Stub() {
                @Override
                public void onCapabilityChanged(ArrayList<String> capabilities) {}
            },
            IOutputEncodingStatusListener.class, new IOutputEncodingStatusListener.Stub() {
                @Override
                public void onForceEncodingChanged(boolean enabled) {}

                @Override
                public void onEncodingFormatChanged(String format) {}
            },
            IHeadphoneVirtualizerCallback.class, new IHeadphoneVirtualizerCallback.Stub() {
                @Override
                public void onApplyResult(int result) {}
            });

    private record Call(Class<?> type, Method method, String arguments) {
        @Override
        public String toString() {
            String[] version = type.getPackageName().split("\\.V|_");
            return PACKAGE + "@" + version[1] + "." + version[2] + "::" + type.getSimpleName() + "\t" + method.getName()
                    + "\t" + arguments;
        }
    }

    @Test
    void allMethodsOfAllVersionsAnswerAsInCpp() throws Exception {
        List<Call> calls = calls();
        Process python = new ProcessBuilder("/usr/bin/python3", "-B", source("tests/host/java/answers.py").toString())
                .redirectError(ProcessBuilder.Redirect.INHERIT)
                .redirectInput(fileOf(calls))
                .directory(new File("/"))
                .start();
        Map<String, Object> answers = new LinkedHashMap<>();
        for (int i = 0; i < calls.size(); i++) {
            answers.put(i + " " + calls.get(i), answerOf(calls.get(i)));
        }
        List<String> expected =
                new String(python.getInputStream().readAllBytes(), StandardCharsets.UTF_8).lines().toList();
        assertEquals(0, python.waitFor());
        assertEquals(calls.size(), expected.size());
        Map<String, Object> expectedAnswers = new LinkedHashMap<>();
        for (int i = 0; i < calls.size(); i++) {
            expectedAnswers.put(i + " " + calls.get(i), Json.parse(expected.get(i)));
        }
        assertEquals(text(expectedAnswers), text(answers));
    }

    @Test
    void listOfCallsIsComplete() throws Exception {
        Set<String> missing = new LinkedHashSet<>();
        for (Class<?> type : interfaces()) {
            for (String method : methodsOf(type)) {
                missing.add(type.getName() + "." + method);
            }
        }
        calls().forEach(call -> missing.remove(call.type.getName() + "." + call.method.getName()));
        assertEquals(Set.of(), missing);
    }

    @Test
    void virtualizerReceivesDataAndCallsBack() throws Exception {
        IHeadphoneVirtualizer virtualizer = IHeadphoneVirtualizer.getService();
        LinkedBlockingQueue<Integer> results = new LinkedBlockingQueue<>();
        int handle = virtualizer.allocateParameterBuffer(1, 2 * 100000);
        ArrayList<Byte> data = new ArrayList<>();
        for (int i = 0; i < 100000; i++) {
            data.add((byte) i);
        }
        assertEquals(0, virtualizer.append(handle, data));
        assertEquals(0, virtualizer.append(handle, data));
        assertEquals(0, virtualizer.apply(handle, new IHeadphoneVirtualizerCallback.Stub() {
            @Override
            public void onApplyResult(int result) {
                results.add(result);
            }
        }));
        assertEquals(0, results.poll(10, TimeUnit.SECONDS));
    }

    @Test
    void debugWritesToPipe(Tv tv) throws Exception {
        IOutputSpeaker speaker = IOutputSpeaker.getService();
        String pipe = tv.path().resolve("pipe").toString();
        assertEquals(0, new ProcessBuilder("mkfifo", pipe).start().waitFor());
        byte[] text = new byte[10000];
        try (RandomAccessFile ends = new RandomAccessFile(pipe, "rw")) {
            speaker.debug(new NativeHandle(ends.getFD(), false), new ArrayList<>());
            int size = ends.read(text);
            assertTrue(new String(text, 0, size, StandardCharsets.UTF_8).startsWith("OutputSpeaker ("), new String(text, 0, size));
        }
        speaker.debug(null, new ArrayList<>(List.of("x")));
        assertEquals(tv.pid("hidlaudio").getAsLong(), speaker.getDebugInfo().pid);
        speaker.notifySyspropsChanged();
        speaker.setHALInstrumentation();
        assertEquals(4, speaker.getHashChain().size());
        assertEquals(List.of(PACKAGE + "@6.1::IOutputSpeaker", PACKAGE + "@3.1::IOutputSpeaker",
                PACKAGE + "@2.0::IOutputSpeaker", "android.hidl.base@1.0::IBase"), speaker.interfaceChain());
    }

    private Object answerOf(Call call) throws Exception {
        Object service = call.type.getMethod("getService").invoke(null);
        List<?> given = (List<?>) Json.parse(call.arguments);
        Object[] arguments = new Object[given.size()];
        for (int i = 0; i < arguments.length; i++) {
            arguments[i] = javaForm(given.get(i), call.method.getParameterTypes()[i], call.method.getName());
        }
        return plain(call.method.invoke(service, arguments));
    }

    private Object javaForm(Object value, Class<?> type, String method) throws Exception {
        if (type == int.class) {
            return ((Double) value).intValue();
        }
        if (type == float.class) {
            return ((Double) value).floatValue();
        }
        if ("callback".equals(value)) {
            return callbacks.get(type);
        }
        if (value instanceof Map<?, ?> fields) {
            Object struct = type.getConstructor().newInstance();
            for (Map.Entry<?, ?> entry : fields.entrySet()) {
                Field field = type.getField((String) entry.getKey());
                field.set(struct, javaForm(entry.getValue(), field.getType(), "setCalibratedData.bands"));
            }
            return struct;
        }
        if (!(value instanceof List<?> list)) {
            return value;
        }
        Class<?> element = switch (method) {
            case "setCalibratedData" -> calibratedData.class;
            case "setCalibratedData.bands" -> com.tovi.dtv.hardware.audio.V3_0.bandEqualizer.class;
            case "setSmoothDelay" -> float.class;
            default -> String.class;
        };
        ArrayList<Object> elements = new ArrayList<>();
        for (Object one : list) {
            elements.add(method.equals("append") ? ((Double) one).byteValue() : javaForm(one, element, method));
        }
        return elements;
    }

    /** Returns a result in the form in which Json reads it. */
    private static Object plain(Object value) throws Exception {
        if (value instanceof Number) {
            return Double.valueOf(value.toString());
        }
        if (value instanceof List<?> list) {
            List<Object> elements = new ArrayList<>();
            for (Object element : list) {
                elements.add(plain(element));
            }
            return elements;
        }
        if (value == null || value instanceof String || value instanceof Boolean) {
            return value;
        }
        Map<String, Object> fields = new TreeMap<>();
        for (Field field : value.getClass().getFields()) {
            if (!Modifier.isStatic(field.getModifiers())) {
                fields.put(field.getName().replaceAll("([A-Z])", "_$1").toLowerCase(), plain(field.get(value)));
            }
        }
        return fields;
    }

    private static String text(Object value) {
        if (value instanceof Map<?, ?> map) {
            StringBuilder lines = new StringBuilder();
            map.forEach((key, content) -> lines.append(key).append(" = ").append(sorted(content)).append('\n'));
            return lines.toString();
        }
        return String.valueOf(value);
    }

    private static Object sorted(Object value) {
        if (value instanceof List<?> list) {
            return list.stream().map(ServicesTest::sorted).toList();
        }
        if (value instanceof Map<?, ?> map) {
            Map<Object, Object> result = new TreeMap<>();
            map.forEach((key, content) -> result.put(key, sorted(content)));
            return result;
        }
        return value;
    }

    private static List<Call> calls() throws Exception {
        List<Call> calls = new ArrayList<>();
        for (Class<?> type : interfaces()) {
            for (String line : Files.readAllLines(source("tests/host/java/calls.txt"))) {
                String[] parts = line.split(" ", 3);
                for (Method method : type.getMethods()) {
                    if (parts[0].equals(type.getSimpleName()) && parts[1].equals(method.getName())) {
                        calls.add(new Call(type, method, parts.length > 2 ? parts[2] : "[]"));
                    }
                }
            }
        }
        return calls;
    }

    /** Returns all interfaces of services, of all versions. */
    private static List<Class<?>> interfaces() throws Exception {
        Path jar = Path.of(IOutputSpeaker.class.getProtectionDomain().getCodeSource().getLocation().toURI());
        List<Class<?>> found = new ArrayList<>();
        try (JarFile file = new JarFile(jar.toFile())) {
            for (String name : file.stream().map(entry -> entry.getName()).sorted().toList()) {
                if (name.matches(".*/V[0-9_]+/I[A-Z]\\w*\\.class") && !name.endsWith("Callback.class")) {
                    found.add(Class.forName(name.replace('/', '.').replace(".class", "")));
                }
            }
        }
        return found;
    }

    private static Set<String> methodsOf(Class<?> type) {
        Set<String> names = new LinkedHashSet<>();
        for (Method method : type.getMethods()) {
            boolean isBase = BASE_METHODS != null && BASE_METHODS.contains(method.getName());
            if (!Modifier.isStatic(method.getModifiers()) && !isBase) {
                names.add(method.getName());
            }
        }
        return names;
    }

    private static File fileOf(List<Call> calls) throws Exception {
        File file = File.createTempFile("hidlaudio-calls", ".txt");
        file.deleteOnExit();
        try (FileOutputStream output = new FileOutputStream(file)) {
            for (Call call : calls) {
                output.write((call + "\n").getBytes(StandardCharsets.UTF_8));
            }
        }
        return file;
    }

    private static Path source(String name) {
        return Path.of(System.getProperty("hidlaudio.source"), name);
    }
}
