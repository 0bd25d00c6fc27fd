// SPDX-License-Identifier: Apache-2.0
package hidlaudio.runtime;

import java.nio.charset.StandardCharsets;
import java.nio.file.Path;
import java.util.Deque;
import java.util.concurrent.ConcurrentLinkedDeque;

/**
 * The virtual TV on which look-ups and registrations work. A test sets it for its thread. Threads that it
 * creates inherit it, and callbacks run with the TV of the thread that created their object. A thread whose TV
 * is closed, and one that has none, uses the TV that was opened last, or else the one of {@code $HIDLAUDIO_TV}.
 */
public final class TvFolder {
    private static final Deque<String> OPEN = new ConcurrentLinkedDeque<>();
    private static final InheritableThreadLocal<String> OF_THREAD = new InheritableThreadLocal<>();

    private TvFolder() {}

    /** Adds a TV, which the calling thread uses from now on. Returns the one that it used, or null. */
    public static String open(Path folder) {
        String tv = folder.toAbsolutePath().normalize().toString();
        String before = OF_THREAD.get();
        OPEN.addFirst(tv);
        OF_THREAD.set(tv);
        return before;
    }

    /** Makes the calling thread use an open TV. */
    public static void use(Path folder) {
        OF_THREAD.set(folder.toAbsolutePath().normalize().toString());
    }

    /** Removes a TV. If the calling thread uses it, it uses {@code before} from now on. */
    public static void close(Path folder, String before) {
        String tv = folder.toAbsolutePath().normalize().toString();
        OPEN.remove(tv);
        if (tv.equals(OF_THREAD.get())) {
            OF_THREAD.set(before);
        }
    }

    /** Returns the folder of the calling thread's TV, or null for {@code $HIDLAUDIO_TV}. */
    public static String current() {
        if (OPEN.isEmpty()) {
            return null;
        }
        String own = OF_THREAD.get();
        return own != null && OPEN.contains(own) ? own : OPEN.peekFirst();
    }

    /** Returns the same in UTF-8, or null. */
    public static byte[] utf8() {
        String tv = current();
        return tv == null ? null : tv.getBytes(StandardCharsets.UTF_8);
    }

    /** Makes the calling thread use a TV until the scope is closed. Null changes nothing. */
    public static Scope enter(String tv) {
        if (tv == null) {
            return Scope.UNCHANGED;
        }
        String before = OF_THREAD.get();
        OF_THREAD.set(tv);
        return () -> OF_THREAD.set(before);
    }

    /** Restores the TV of the thread. */
    public interface Scope extends AutoCloseable {
        Scope UNCHANGED = () -> {};

        @Override
        void close();
    }
}
