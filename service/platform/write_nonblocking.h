// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace com::tovi::dtv::hardware::audio::platform {

/**
 * Writes as much as a descriptor of somebody else's takes without a wait, whatever that
 * somebody does meanwhile. Its flags stay as they are: other processes share them, and
 * O_NONBLOCK would be set for them as well. A reader that is gone raises no signal.
 *
 * Takes pipes, sockets and files in memory. Anything else (a terminal that is stopped, a
 * file that an app serves) could make the writer wait, so that nothing is written to it:
 * whoever wants the text in a file reads it from a pipe. Any thread.
 *
 * @return 0 where all was written, else the errno of why no more was: EAGAIN for a full
 *     pipe, EPIPE for a reader that is gone, EBADF for no descriptor or one that is only
 *     read, EOPNOTSUPP for what is not written to
 */
int writeNonBlocking(int fd, std::string_view text);

}  // namespace com::tovi::dtv::hardware::audio::platform
