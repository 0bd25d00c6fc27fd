// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace hidlaudio::host {

/**
 * Maps a path that the program uses to a path on the workstation. `/data/…`, `/dev/tovi_bectrl` and
 * `/proc/driver/tovi_bectrl/…` are mapped to files below the root of the virtual TV. All other paths stay
 * unchanged: relative paths, null pointers, and paths that already are below the root. Does not change
 * errno. Must not outlive `path`.
 */
class TvPath {
  public:
    explicit TvPath(const char* path);

    /** Returns whether the path belongs to the virtual TV. */
    bool onTv() const { return !mapped_.empty(); }

    /** Returns the path to pass to the real call. */
    const char* real() const { return onTv() ? mapped_.c_str() : path_; }

  private:
    const char* path_;
    std::string mapped_;
};

}  // namespace hidlaudio::host
