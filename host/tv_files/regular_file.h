// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <string>

namespace hidlaudio::host {

/**
 * Opens a regular file as open(2) does, with O_CLOEXEC. Never blocks. Follows a link in the file's place
 * only to read. Returns -1 with errno if that fails: ELOOP for a link, EISDIR for a folder, EINVAL or ENXIO
 * for a pipe, a device or a socket.
 */
int openRegularFile(const std::string& path, int flags, mode_t mode = 0644);

/** "PATH is a named pipe, not a regular file"; empty if it is a regular file, a folder, or nothing. */
std::string irregularityOf(const std::string& path);

/** Message for a file that cannot be used: irregularityOf(), else "PATH: meaning of the errno". */
std::string fileError(const std::string& path, int error);

}  // namespace hidlaudio::host
