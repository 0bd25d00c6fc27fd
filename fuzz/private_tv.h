// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string>

namespace hidlaudio::fuzz {

/** Nothing that is logged is seen from here on: hostile inputs have much to be told of. */
void silenceLog();

/** Makes a virtual TV of this process's own, in $TMPDIR; gone when the process ends of itself. */
void makePrivateTv();

/** A file of the private TV, made with the folders on the way to it. */
class TvFile {
  public:
    /** @param path below the TV's root, such as "/data/…" */
    explicit TvFile(const std::string& path);
    ~TvFile();
    TvFile(const TvFile&) = delete;
    TvFile& operator=(const TvFile&) = delete;

    /** The whole of its content from now on. */
    void fill(const uint8_t* data, size_t size) const;

  private:
    int fd_;
};

}  // namespace hidlaudio::fuzz
