// SPDX-License-Identifier: Apache-2.0
package android.os;

import hidlaudio.runtime.CallbackErrors;
import hidlaudio.runtime.TvFolder;
import java.lang.ref.Reference;
import java.util.ArrayList;
import java.util.HashSet;
import java.util.List;
import java.util.Objects;
import java.util.Set;

/** An object of another process. Two of them are equal if they refer to the same object. */
public class HwRemoteBinder implements IHwBinder {
    private final long handle;
    // The native forms of `links`, and the lock of both. The cleaner must not refer to the recipients,
    // because these may refer to this object.
    private final Set<Long> natives = new HashSet<>();
    private final List<Link> links = new ArrayList<>();

    /** Called by the native code, which has added a reference for this object. */
    private HwRemoteBinder(long handle) {
        this.handle = handle;
        Set<Long> own = natives;
        Native.CLEANER.register(this, () -> free(handle, own));
    }

    @Override
    public final void transact(int code, HwParcel request, HwParcel reply, int flags) throws RemoteException {
        Statuses.checkTransaction(transact(handle, code, request.handle(), reply.handle(), flags));
        Reference.reachabilityFence(request);
        Reference.reachabilityFence(reply);
    }

    @Override
    public IHwInterface queryLocalInterface(String descriptor) {
        return null;
    }

    @Override
    public boolean linkToDeath(DeathRecipient recipient, long cookie) {
        Link link = new Link(Objects.requireNonNull(recipient), cookie);
        synchronized (natives) {
            link.handle = linkToDeath(handle, link);
            if (link.handle == 0) {
                return false;
            }
            natives.add(link.handle);
            links.add(link);
            return true;
        }
    }

    @Override
    public boolean unlinkToDeath(DeathRecipient recipient) {
        synchronized (natives) {
            for (Link link : links) {
                if (link.recipient == recipient) {
                    boolean unlinked = unlinkToDeath(handle, link.handle);
                    link.remove();
                    return unlinked;
                }
            }
            return false;
        }
    }

    @Override
    public final boolean equals(Object other) {
        return other instanceof HwRemoteBinder && ((HwRemoteBinder) other).handle == handle;
    }

    @Override
    public final int hashCode() {
        return Long.hashCode(handle);
    }

    long handle() {
        return handle;
    }

    private static void free(long handle, Set<Long> natives) {
        synchronized (natives) {
            natives.forEach(HwRemoteBinder::releaseLink);
            natives.clear();
        }
        release(handle);
    }

    /** One recipient, linked with one cookie. The native code holds a weak reference to it. */
    private final class Link {
        private final DeathRecipient recipient;
        private final long cookie;
        private final String tv = TvFolder.current();
        private long handle;

        Link(DeathRecipient recipient, long cookie) {
            this.recipient = recipient;
            this.cookie = cookie;
        }

        /** Ends the link. The caller has locked `natives`. */
        private void remove() {
            if (links.remove(this) && natives.remove(handle)) {
                releaseLink(handle);
            }
        }

        /** Called by the native code on a binder thread. */
        private void died() {
            synchronized (natives) {
                remove();
            }
            try (TvFolder.Scope scope = TvFolder.enter(tv)) {
                recipient.serviceDied(cookie);
            } catch (Throwable error) {
                CallbackErrors.report(tv, error);
            }
        }
    }

    private native int transact(long handle, int code, long request, long reply, int flags);

    private native long linkToDeath(long handle, Link link);

    private native boolean unlinkToDeath(long handle, long link);

    private static native void releaseLink(long link);

    private static native void release(long handle);
}
