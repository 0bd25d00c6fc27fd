// SPDX-License-Identifier: Apache-2.0
package android.os;

/** Base of all generated interfaces. */
public interface IHwInterface {
    /** Returns the object through which the interface is called. */
    IHwBinder asBinder();
}
