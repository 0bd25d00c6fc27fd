// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace hidlaudio::host {

/**
 * Where a path of the program really lies: `/data/…`, `/dev/tovi_bectrl` and
 * `/proc/driver/tovi_bectrl/…` below the root of the virtual TV, every other path
 * (a relative one, a null pointer, one that lies below the root already) where it
 * says. Leaves errno alone. Must not outlive `path`.
 */
class TvPath {
  public:
    explicit TvPath(const char* path);

    /** Whether the path belongs to the virtual TV. */
    bool onTv() const { return !mapped_.empty(); }

    /** The path to give to the real call. */
    const char* real() const { return onTv() ? mapped_.c_str() : path_; }

  private:
    const char* path_;
    std::string mapped_;
};

}  // namespace hidlaudio::host
