// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace hidlaudio::host {

/** Name of an output file that stands for standard output. */
constexpr char kStandardOutput[] = "-";

/**
 * Writes `content` to a file that the user named. Symbolic links are followed.
 *
 * - A regular file is replaced atomically: the content goes to a temporary file in the same folder, which is
 *   then renamed. The mode is kept, and owner and group if this process may set them. If the temporary file
 *   cannot be created, the write fails and the old content is kept.
 * - A file that does not exist is created the same way, with the permissions that the umask leaves.
 * - A device or a named pipe is written directly. /dev/stdout and /dev/fd/N are written through the open
 *   descriptor, at its current offset.
 * - "-" is standard output. finishOutput() reports a failure there at the end of the program.
 *
 * @return an empty string, or an error message that contains `path`
 */
std::string writeOutputFile(const std::string& path, const std::string& content);

}  // namespace hidlaudio::host
