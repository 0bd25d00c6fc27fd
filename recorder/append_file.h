// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string>

namespace hidlaudio::recorder {

/**
 * A file to which whole pieces are appended. Space on the disk is reserved ahead, so that a full disk is
 * detected while the last piece still fits. Not thread-safe.
 */
class AppendFile {
  public:
    AppendFile() = default;
    ~AppendFile() { close(); }
    AppendFile(const AppendFile&) = delete;
    AppendFile& operator=(const AppendFile&) = delete;

    /** Opens or creates a regular file; any other file is refused. Returns 0, or an errno. */
    int open(const std::string& path, int64_t sizeLimit);
    void close();
    bool isOpen() const { return fd_ >= 0; }

    /** Returns whether the file still has a name. */
    bool isLinked() const;

    /**
     * Appends the piece. Returns its offset if no other process appends to the file, or -1 with errno; the
     * file then ends as before. Keeps space for one short piece, which `isLast` may use.
     */
    int64_t append(const void* data, size_t size, bool isLast = false);

  private:
    int reserve(int64_t size, bool isLast);

    int fd_ = -1;
    int64_t size_ = 0;
    int64_t reservedEnd_ = 0;
    int64_t sizeLimit_ = 0;
};

}  // namespace hidlaudio::recorder
