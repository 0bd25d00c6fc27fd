// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>
#include <stdio.h>

namespace hidlaudio::host {

/**
 * Records which descriptors of this process belong to the virtual TV. Only calls on those are counted and
 * can be made to fail. All functions may be called from any thread. They take no lock: a child that was
 * forked while another thread held the lock would block when it closes a descriptor.
 */

enum class TvDescriptor : uint8_t {
    None,
    File,
    BackEnd,        // the back-end controller's device
    TransferState,  // one of the state files of its transfers
};

/** Registers a descriptor that was opened on the virtual TV. Ignores negative numbers. */
void rememberTvDescriptor(int fd, TvDescriptor kind = TvDescriptor::File);

/** Unregisters a descriptor. Call it before closing: another thread may get the same number at once. */
void forgetTvDescriptor(int fd);

TvDescriptor kindOfDescriptor(int fd);

bool isTvDescriptor(int fd);

/** Returns whether the stream's descriptor belongs to the TV; false if it has none. Does not change errno. */
bool isTvStream(FILE* stream);

}  // namespace hidlaudio::host
