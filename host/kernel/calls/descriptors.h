// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>
#include <stdio.h>

namespace hidlaudio::host {

/**
 * Which descriptors of this process lead to the virtual TV: only calls on those
 * are counted and can be made to fail. Any thread, and without a lock: a child
 * that was forked while another thread was in here closes its descriptors too.
 */

enum class TvDescriptor : uint8_t {
    None,
    File,
    BackEnd,        // the back-end controller's device
    TransferState,  // one of the files that tell the state of its transfers
};

/** Notes a descriptor that was opened on the virtual TV; a negative one is no matter. */
void rememberTvDescriptor(int fd, TvDescriptor kind = TvDescriptor::File);

/** To be called before the descriptor is closed, as its number may come back at once. */
void forgetTvDescriptor(int fd);

TvDescriptor kindOfDescriptor(int fd);

bool isTvDescriptor(int fd);

/** Whether the stream's descriptor is one; leaves errno alone for a stream without. */
bool isTvStream(FILE* stream);

}  // namespace hidlaudio::host
