// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace hidlaudio::client {

/** The name by which a user means standard output. */
constexpr char kStandardOutput[] = "-";

/**
 * Writes `content` to the file that a user named. Links are followed.
 *
 * - A regular file is replaced whole, or keeps its old content: the new content goes to a
 *   temporary file beside it, which then takes its name. The mode stays, and owner and group
 *   if this process may set them. If the folder does not permit a temporary file, the
 *   write fails: writing in place could leave a part of the content, and nothing of the old.
 * - A missing file is made likewise, with the permissions that the umask leaves.
 * - A device, a named pipe or an open descriptor (/dev/stdout, /dev/fd/N) gets the content as it is;
 *   a regular file behind an open descriptor gets it where the descriptor stands.
 * - "-" is standard output; main reports a failure to write there.
 *
 * @return "", or why `path` could not be written, with the path
 */
std::string writeOutputFile(const std::string& path, const std::string& content);

}  // namespace hidlaudio::client
