// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace hidlaudio::host {

/**
 * Returns the folder of this process's virtual TV, or that of a ScopedTvRoot: $HIDLAUDIO_TV, or else
 * hidlaudio/tv below $XDG_STATE_HOME, or else hidlaudio/tv below ~/.local/state. A relative $XDG_STATE_HOME
 * is ignored, as the XDG rules for base directories require, and so is a relative $HOME. The result is
 * absolute and has no trailing slash. The folder need not exist. Reads the environment at each call. May be
 * called from any thread, but not while another thread calls setenv().
 */
std::string tvRoot();

/**
 * Sets the folder of the virtual TV for this process and its children. A relative path is relative to the
 * working directory. Call it at the start of a command, before other threads exist.
 */
void setTvRoot(const std::string& directory);

/**
 * While it exists, tvRoot() returns an absolute `directory` on the calling thread. An empty one changes
 * nothing.
 */
class ScopedTvRoot {
  public:
    explicit ScopedTvRoot(const std::string& directory);
    ~ScopedTvRoot();
    ScopedTvRoot(const ScopedTvRoot&) = delete;
    ScopedTvRoot& operator=(const ScopedTvRoot&) = delete;

  private:
    const std::string previous_;
};

}  // namespace hidlaudio::host
