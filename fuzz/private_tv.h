// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>
#include <stddef.h>
#include <stdint.h>

#include <string>

namespace hidlaudio::fuzz {

/** Discards all log messages from now on, because hostile inputs cause many. */
void silenceLog();

/** Creates a virtual TV for this process in $TMPDIR and removes it at a normal exit. */
void makePrivateTv();

/** A file of the private TV. The constructor creates it and its folders. */
class TvFile {
  public:
    /** @param path below the TV's root, such as "/data/…" */
    explicit TvFile(const std::string& path);

    /** Replaces the content of the file. */
    void fill(const uint8_t* data, size_t size) const;

  private:
    android::base::unique_fd fd_;
};

}  // namespace hidlaudio::fuzz
