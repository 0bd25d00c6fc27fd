// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace hidlaudio::host {

/**
 * The folder that holds the state of the virtual TV this process belongs to:
 * $HIDLAUDIO_TV, else hidlaudio/tv under $XDG_STATE_HOME, else under
 * ~/.local/state. A relative $XDG_STATE_HOME is ignored, as the XDG rules for base
 * directories demand; so is a relative $HOME. The result is absolute, without a
 * trailing slash; the folder need not exist. Reads the environment at each call;
 * any thread, but not beside a setenv.
 */
std::string tvRoot();

/**
 * Makes `directory` the virtual TV of this process and its children; a relative
 * path is taken from the working directory. For the start of a command.
 */
void setTvRoot(const std::string& directory);

}  // namespace hidlaudio::host
