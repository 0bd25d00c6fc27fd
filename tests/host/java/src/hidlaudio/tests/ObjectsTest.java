// SPDX-License-Identifier: Apache-2.0
package hidlaudio.tests;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertSame;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import android.os.DeadObjectException;
import android.os.HidlSupport;
import android.os.HwBinder;
import android.os.HwParcel;
import android.os.IHwBinder;
import android.os.RemoteException;
import com.tovi.test.javaprobe.V1_0.ICallback;
import com.tovi.test.javaprobe.V1_1.IJavaProbe;
import hidlaudio.junit.Tv;
import hidlaudio.junit.TvOptions;
import hidlaudio.junit.VirtualTv;
import java.lang.ref.WeakReference;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.NoSuchElementException;
import java.util.Queue;
import java.util.concurrent.ConcurrentLinkedQueue;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.LinkedBlockingQueue;
import java.util.concurrent.TimeUnit;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.ExtendWith;

/** Objects, callbacks, deaths and services. */
@ExtendWith(VirtualTv.class)
@TvOptions(boot = false)
class ObjectsTest {
    private static final String NAME_1_0 = com.tovi.test.javaprobe.V1_0.IJavaProbe.kInterfaceName;
    private ProbeProcess service;
    private IJavaProbe probe;

    /** Answers with its argument; records its thread and its notices. */
    private static class Callback extends ICallback.Stub {
        final LinkedBlockingQueue<Integer> notices = new LinkedBlockingQueue<>();
        volatile Thread thread;
        Action action = () -> {};

        interface Action {
            void run() throws RemoteException;
        }

        @Override
        public int onEvent(int value) throws RemoteException {
            thread = Thread.currentThread();
            action.run();
            return value;
        }

        @Override
        public void onNotice(int value) {
            notices.add(value);
        }
    }

    @BeforeEach
    void start(Tv tv) throws Exception {
        service = ProbeProcess.start(tv);
        probe = service.get();
    }

    @AfterEach
    void stop() {
        service.close();
    }

    @Test
    void callbacksRunOnTheWaitingThreadOrOnABinderThread() throws Exception {
        Callback callback = new Callback();
        probe.setCallback(callback);
        assertEquals(0 + 1 + 2, probe.callBack(3));
        assertSame(Thread.currentThread(), callback.thread);
        probe.callBackLater(3);
        assertEquals(3, callback.notices.poll(10, TimeUnit.SECONDS));
        assertNotEquals(Thread.currentThread(), callback.thread);
        assertTrue(callback.thread.isDaemon());
    }

    @Test
    void callbackCallsServiceAndThatCallsBack() throws Exception {
        Callback callback = new Callback();
        int[] depth = {0};
        callback.action = () -> {
            if (depth[0]++ < 10) {
                assertEquals(0, probe.callBack(1));
            }
        };
        probe.setCallback(callback);
        assertEquals(0, probe.callBack(1));
        assertEquals(11, depth[0]);
    }

    @Test
    void objectsKeepTheirIdentity() throws Exception {
        Callback callback = new Callback();
        probe.setCallback(null);
        assertNull(probe.getCallback());
        probe.setCallback(callback);
        assertSame(callback, probe.getCallback());
        IJavaProbe again = service.get();
        assertEquals(probe, again);
        assertEquals(probe.hashCode(), again.hashCode());
        assertTrue(HidlSupport.interfacesEqual(probe, again));
        assertNotEquals(probe, callback);
    }

    @Test
    void aThousandThreadsCall() throws Exception {
        CountDownLatch called = new CountDownLatch(1000);
        Queue<Throwable> wrong = new ConcurrentLinkedQueue<>();
        List<Thread> threads = new ArrayList<>();
        for (int i = 0; i < 1000; i++) {
            String text = "thread " + i;
            threads.add(new Thread(null, () -> {
                try {
                    assertEquals(text, probe.echoText(text));
                    called.countDown();
                    called.await(); // all threads live now
                    assertEquals(text, probe.echoText(text));
                } catch (Throwable e) {
                    wrong.add(e);
                    called.countDown(); // so that the other threads end
                }
            }, text, 256 * 1024));
        }
        threads.forEach(Thread::start);
        for (Thread thread : threads) {
            thread.join();
        }
        assertEquals(List.of(), List.copyOf(wrong));
    }

    @Test
    void castsFollowTheInterfaceChain() throws Exception {
        var parent = com.tovi.test.javaprobe.V1_0.IJavaProbe.castFrom(probe);
        assertEquals(parent.asBinder(), probe.asBinder());
        assertEquals(11, IJavaProbe.castFrom(parent).number());
        assertNull(ICallback.castFrom(probe));
        assertNull(IJavaProbe.castFrom(null));
        // A Java object is its own most derived interface; others are proxies that call it in this process.
        JavaProbe local = new JavaProbe();
        assertSame(local, IJavaProbe.castFrom(local));
        var ancestor = com.tovi.test.javaprobe.V1_0.IJavaProbe.castFrom(local);
        assertEquals("x".repeat(5000), ancestor.echoText("x".repeat(5000)));
        assertEquals(9000, ancestor.sumBytes(new java.util.ArrayList<>(java.util.Collections.nCopies(9000, (byte) 1))));
        ancestor.setCallback(new Callback());
        assertEquals(0, ancestor.getCallback().onEvent(0));
        ancestor.note(3);
        assertEquals(3, local.noted);
        service.kill();
        assertNull(ICallback.castFrom(probe));
    }

    @Test
    void onewayCallsReturnAtOnceAndInOrder() throws Exception {
        for (int i = 0; i < 50; i++) {
            probe.note(i);
        }
        Tv.waitUntil("no note 49", () -> ValuesTest.eventsOf(probe).contains("note 49"));
        List<String> notes = ValuesTest.eventsOf(probe);
        for (int i = 0; i < 50; i++) {
            assertEquals("note " + i, notes.get(i));
        }
    }

    @Test
    void deathOfServiceIsReported() throws Exception {
        LinkedBlockingQueue<Long> deaths = new LinkedBlockingQueue<>();
        IHwBinder.DeathRecipient kept = deaths::add;
        IHwBinder.DeathRecipient removed = cookie -> deaths.add(-cookie);
        assertTrue(probe.linkToDeath(kept, 1));
        assertTrue(probe.linkToDeath(kept, 2));
        assertTrue(probe.linkToDeath(removed, 3));
        assertTrue(probe.unlinkToDeath(removed));
        assertEquals(false, probe.unlinkToDeath(removed));
        service.kill();
        assertEquals(3, deaths.poll(10, TimeUnit.SECONDS) + deaths.poll(10, TimeUnit.SECONDS));
        assertThrows(DeadObjectException.class, () -> probe.number());
        assertThrows(DeadObjectException.class, () -> probe.note(1));
        assertEquals(false, probe.linkToDeath(kept, 4));
        assertEquals(false, probe.unlinkToDeath(kept));
        assertNull(deaths.poll());
        assertThrows(NoSuchElementException.class, () -> service.get());
    }

    @Test
    void deathOfClientIsReported(Tv tv) throws Exception {
        try (ProbeProcess client = ProbeProcess.startJava(tv, ClientMain.class)) {
            client.kill();
        }
        Tv.waitUntil("no notice", () -> ValuesTest.eventsOf(probe).contains("died"));
        assertEquals(-1, probe.callBack(1));
    }

    @Test
    void exceptionInCallbackIsAnError(Tv tv) throws Exception {
        Callback callback = new Callback();
        callback.action = () -> {
            throw new IllegalStateException("planned");
        };
        probe.setCallback(callback);
        assertEquals(-1, probe.callBack(1));
        List<Throwable> errors = tv.takeCallbackErrors();
        assertEquals("planned", errors.get(0).getMessage());
        callback.action = () -> {};
        assertEquals(0, probe.callBack(1));
    }

    @Test
    void javaServiceAnswersCppClient(Tv tv) throws Exception {
        JavaProbe own = new JavaProbe();
        own.registerAsService("java");
        assertEquals(List.of(), probe.useService("java"));
        assertEquals("negative", tv.takeCallbackErrors().get(0).getMessage());
        assertEquals(5, own.noted);
        assertSame(own, IJavaProbe.getService("java"));
        assertThrows(RemoteException.class, () -> own.registerAsService(""));
        tv.setFile("manifest", "a.b@1.0::IC/default\n".getBytes());
        assertThrows(RemoteException.class, () -> own.registerAsService("undeclared"));
        assertThrows(NoSuchElementException.class, () -> IJavaProbe.getService("undeclared"));
    }

    @Test
    void getServiceWaitsForDeclaredService(Tv tv) throws Exception {
        service.kill();
        tv.setFile("manifest", (IJavaProbe.kInterfaceName + "/default\n").getBytes());
        assertThrows(NoSuchElementException.class, () -> IJavaProbe.getService(false));
        CountDownLatch found = new CountDownLatch(1);
        Thread waiting = new Thread(() -> {
            try {
                IJavaProbe.getService(true);
                found.countDown();
            } catch (RemoteException failed) {
                throw failed.rethrowAsRuntimeException();
            }
        });
        waiting.start();
        new JavaProbe().registerAsService("default");
        assertTrue(found.await(10, TimeUnit.SECONDS));
        waiting.join();
    }

    @Test
    void wrongCallsOfAServiceAreErrors(Tv tv) throws Exception {
        HwBinder silent = new JavaProbe() {
            @Override
            public void onTransact(int code, HwParcel request, HwParcel reply, int flags) {
                assertThrows(SecurityException.class, () -> request.enforceInterface("other"));
                assertThrows(IllegalStateException.class, request::send);
            }
        };
        HwParcel request = new HwParcel();
        request.writeInterfaceToken(NAME_1_0);
        String unknownError = Integer.toString(Integer.MIN_VALUE);
        for (IHwBinder target : List.of(silent, new JavaProbe(), probe.asBinder())) {
            HwParcel reply = new HwParcel();
            RemoteException failure = assertThrows(RemoteException.class,
                    () -> target.transact(999, request, reply, 0));
            assertEquals(target == probe.asBinder(), !failure.getMessage().contains(unknownError));
            reply.release();
        }
        HwParcel wrong = new HwParcel();
        wrong.writeInterfaceToken("other");
        assertThrows(RemoteException.class, () -> new JavaProbe().transact(1, wrong, new HwParcel(), 0));
        assertTrue(tv.takeCallbackErrors().get(0) instanceof SecurityException);
    }

    @Test
    void serviceKeepsCallbackAlive() throws Exception {
        WeakReference<Callback> weak = giveCallback();
        System.gc();
        assertEquals(0, probe.callBack(1));
        probe.setCallback(null);
        probe.ping(); // a client gives its references back with its next call
        Tv.waitUntil("the callback is not freed", () -> {
            System.gc();
            return weak.get() == null;
        });
    }

    private WeakReference<Callback> giveCallback() throws RemoteException {
        Callback callback = new Callback();
        probe.setCallback(callback);
        return new WeakReference<>(callback);
    }

    @Test
    void manyCallbacksLeakNothing(Tv tv) throws Exception {
        try (ProbeProcess client = ProbeProcess.startJava(tv, ClientMain.class, "100000")) {
            String growth = new String(client.process.getInputStream().readAllBytes()).trim();
            assertEquals(0, client.process.waitFor());
            assertTrue(Long.parseLong(growth) < 16 << 20, growth + " bytes");
        }
    }

    /** A client in a process of its own. */
    static final class ClientMain {
        public static void main(String[] arguments) throws Exception {
            IJavaProbe probe = IJavaProbe.getService("default", false);
            probe.setCallback(new Callback());
            System.out.println("ready");
            if (arguments.length == 0) {
                Thread.sleep(Long.MAX_VALUE);
            }
            long count = Long.parseLong(arguments[0]);
            probe.callBack(20000);
            long before = residentMemory();
            if (probe.callBack((int) count) != count * (count - 1) / 2) {
                System.exit(1);
            }
            System.out.println(residentMemory() - before);
        }

        private static long residentMemory() throws Exception {
            System.gc();
            return Long.parseLong(Files.readString(Path.of("/proc/self/statm")).split(" ")[1]) * 4096;
        }
    }
}
