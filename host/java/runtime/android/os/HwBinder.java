// SPDX-License-Identifier: Apache-2.0
package android.os;

import hidlaudio.runtime.CallbackErrors;
import hidlaudio.runtime.TvFolder;
import java.lang.ref.Reference;
import java.util.NoSuchElementException;

/** An object of this process that other processes can call. The generated stubs derive from it. */
public abstract class HwBinder implements IHwBinder {
    private final long handle = Native.newBinder();
    private final String tv = TvFolder.current();

    public HwBinder() {
        long own = handle;
        Native.CLEANER.register(this, () -> Native.deleteBinder(own));
    }

    @Override
    public final void transact(int code, HwParcel request, HwParcel reply, int flags) throws RemoteException {
        Statuses.checkTransaction(transact(handle, code, request.handle(), reply.handle(), flags));
        Reference.reachabilityFence(request);
        Reference.reachabilityFence(reply);
    }

    /** Serves a call. Binder threads call it, several at once if the pool has more than one thread. */
    public abstract void onTransact(int code, HwParcel request, HwParcel reply, int flags)
            throws RemoteException;

    /**
     * Registers the object under all its interfaces, and starts the thread pool.
     *
     * @throws RemoteException if the TV does not declare the service, or the name is unusable
     */
    public final void registerService(String serviceName) throws RemoteException {
        Statuses.checkTransaction(registerService(handle, Native.utf8(serviceName), TvFolder.utf8()));
    }

    /** Returns a service, and waits until it is registered if the TV declares it. */
    public static final IHwBinder getService(String iface, String serviceName)
            throws RemoteException, NoSuchElementException {
        return getService(iface, serviceName, true);
    }

    /**
     * Returns a service, and starts the thread pool.
     *
     * @param retry whether to wait for a service that the TV declares and that is not registered
     * @throws NoSuchElementException if the service is not registered
     */
    public static final IHwBinder getService(String iface, String serviceName, boolean retry)
            throws RemoteException, NoSuchElementException {
        IHwBinder found =
                Native.getService(Native.utf8(iface), Native.utf8(serviceName), retry, TvFolder.utf8());
        if (found == null) {
            throw new NoSuchElementException(iface + "/" + serviceName);
        }
        return found;
    }

    /**
     * Sets the maximum number of binder threads. Call it before the first service is found or registered.
     *
     * @param callerWillJoin whether one of them is a thread that calls {@link #joinRpcThreadpool}
     */
    public static final void configureRpcThreadpool(long maxThreads, boolean callerWillJoin) {
        if (maxThreads < 0) {
            throw new IllegalArgumentException("maxThreads " + maxThreads);
        }
        Native.configurePool(maxThreads, callerWillJoin);
    }

    /** Serves calls on this thread. Does not return. */
    public static final void joinRpcThreadpool() {
        Native.joinPool();
    }

    /** Does nothing: a workstation has no instrumentation. */
    public static final void enableInstrumentation() {}

    /** Does nothing: a workstation has no system properties. */
    public static final void reportSyspropChanged() {}

    /** Called by the native code for each incoming call. Returns OK or the status for the caller. */
    private int dispatch(int code, long request, long reply, int flags) {
        HwParcel in = new HwParcel(request);
        HwParcel out = new HwParcel(reply);
        try (TvFolder.Scope scope = TvFolder.enter(tv)) {
            onTransact(code, in, out, flags);
            return Statuses.OK;
        } catch (Throwable error) {
            CallbackErrors.report(tv, error);
            return Statuses.UNKNOWN_ERROR;
        } finally {
            in.release();
            out.release();
        }
    }

    long handle() {
        return handle;
    }

    private native int transact(long handle, int code, long request, long reply, int flags);

    private native int registerService(long handle, byte[] name, byte[] tv);
}
