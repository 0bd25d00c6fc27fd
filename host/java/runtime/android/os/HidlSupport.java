// SPDX-License-Identifier: Apache-2.0
package android.os;

import java.lang.reflect.Array;
import java.util.Collection;
import java.util.List;
import java.util.Map;
import java.util.Objects;

/** Functions that generated code calls. */
public class HidlSupport {
    /** Result parameter of a method with several results. */
    public static final class Mutable<E> {
        public E value;

        public Mutable() {}

        public Mutable(E value) {
            this.value = value;
        }
    }

    /**
     * Returns whether two values are equal, with the elements of arrays and lists compared in depth.
     *
     * @throws UnsupportedOperationException for other collections, and for maps
     */
    public static boolean deepEquals(Object left, Object right) {
        if (left == right) {
            return true;
        }
        if (left == null || right == null) {
            return false;
        }
        refuseUnordered(left);
        refuseUnordered(right);
        if (left instanceof List && right instanceof List) {
            return equalArrays(((List<?>) left).toArray(), ((List<?>) right).toArray());
        }
        if (left.getClass().isArray()) {
            return left.getClass() == right.getClass() && equalArrays(left, right);
        }
        return left.equals(right);
    }

    /**
     * Returns a hash of a value that is the same for values that {@link #deepEquals} compares as equal.
     *
     * @throws UnsupportedOperationException for collections that are no list, and for maps
     */
    public static int deepHashCode(Object value) {
        if (value == null) {
            return 0;
        }
        refuseUnordered(value);
        Object array = value instanceof List ? ((List<?>) value).toArray() : value;
        if (!array.getClass().isArray()) {
            return value.hashCode();
        }
        int hash = 1;
        for (int i = 0; i < Array.getLength(array); i++) {
            hash = 31 * hash + deepHashCode(Array.get(array, i));
        }
        return hash;
    }

    /** Returns whether both are null or refer to the same object. */
    public static boolean interfacesEqual(IHwInterface left, Object right) {
        if (left == right) {
            return true;
        }
        if (left == null || !(right instanceof IHwInterface)) {
            return false;
        }
        return Objects.equals(left.asBinder(), ((IHwInterface) right).asBinder());
    }

    /** Returns the ID of this process. */
    public static int getPidIfSharable() {
        return Native.processId();
    }

    private static boolean equalArrays(Object left, Object right) {
        int length = Array.getLength(left);
        boolean equal = length == Array.getLength(right);
        for (int i = 0; equal && i < length; i++) {
            equal = deepEquals(Array.get(left, i), Array.get(right, i));
        }
        return equal;
    }

    private static void refuseUnordered(Object value) {
        if (value instanceof Map || (value instanceof Collection && !(value instanceof List))) {
            throw new UnsupportedOperationException(value.getClass() + " has no order");
        }
    }
}
