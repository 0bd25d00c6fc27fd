// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace hidlaudio::client {

/**
 * Returns the contents of all files in a folder and its subfolders, by path relative to the folder. At most
 * 64 KiB of a file are read. Text is a string, other bytes are {"hex": ...}, and a file or folder that cannot
 * be read is {"error": "PATH is not readable: ..."}. Never blocks: only regular files are opened, and links
 * are not followed.
 */
nlohmann::ordered_json readFolder(const std::string& folder);

}  // namespace hidlaudio::client
