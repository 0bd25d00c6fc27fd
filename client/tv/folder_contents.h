// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace hidlaudio::client {

/**
 * Returns the contents of all files in a folder and its subfolders, by path relative to the folder: a text,
 * or
 * {"hex": ...} for other bytes; of each file at most 64 KiB. A file or folder that cannot be read is replaced
 * by
 * {"error": "PATH is not readable: ..."}. Never blocks: only regular files are opened, and links are not
 * followed.
 */
nlohmann::ordered_json readFolder(const std::string& folder);

}  // namespace hidlaudio::client
