// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace com::tovi::dtv::hardware::audio::platform {

/**
 * Writes as much text to a descriptor of another process as it accepts without blocking. The flags of the
 * descriptor do not change: other processes share them, and O_NONBLOCK would affect these too. A closed
 * reader causes no signal.
 *
 * One case blocks nevertheless: while a process moves data to the same pipe with splice(), from a descriptor
 * that has none yet, the kernel holds the pipe's lock. Therefore the SELinux policy permits only pipes of
 * trusted processes.
 *
 * Supports pipes, sockets and files in memory. Other files, for example a stopped terminal or a FUSE file
 * of an app, can block the writer, so nothing is written to them. To get the text into a file, a client
 * passes a pipe and copies from it. Any thread.
 *
 * @return 0 if all was written, otherwise an errno: EAGAIN if a pipe or socket is full, EPIPE if the
 *     reader has closed its end, EBADF if `fd` is invalid or read-only, EOPNOTSUPP if `fd` is of an
 *     unsupported type
 */
int writeNonBlocking(int fd, std::string_view text);

}  // namespace com::tovi::dtv::hardware::audio::platform
