// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <string>

namespace hidlaudio::host {

/**
 * Opens a regular file as open(2) does, with O_CLOEXEC. Never blocks. If the file is a symbolic link, it is
 * followed only for reading. Returns a descriptor, or -1 with errno: ELOOP for a link, EISDIR for a folder,
 * EINVAL or ENXIO for a pipe, a device or a socket.
 */
int openRegularFile(const std::string& path, int flags, mode_t mode = 0644);

/**
 * Returns a message such as "PATH is a named pipe, not a regular file", or an empty string if `mode`, the
 * file's type as lstat() returns it, is that of a regular file or a folder.
 */
std::string irregularityOf(const std::string& path, mode_t mode);

/** Returns the message for an unusable file: that of irregularityOf(), or else "PATH: text of the errno". */
std::string fileError(const std::string& path, int error);

}  // namespace hidlaudio::host
