// SPDX-License-Identifier: Apache-2.0
#include "scratch_folder.h"

#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <thread>

namespace hidlaudio::host {

namespace fs = std::filesystem;

namespace {

/** A file system in memory: creating and deleting thousands of files on a disk is slow. */
constexpr char kMemory[] = "/dev/shm";

/** Returns an absolute path, as programs run in other folders use it, or "" if the folder does not exist. */
fs::path placeForFolders() {
    std::error_code error;
    if (getenv("TMPDIR") == nullptr && access(kMemory, W_OK) == 0) return kMemory;
    const fs::path place = fs::temp_directory_path(error);
    return error ? fs::path() : fs::absolute(place, error);
}

}  // namespace

ScratchFolder::ScratchFolder(size_t parametersSize) {
    const fs::path place = placeForFolders();
    if (place.empty()) return;
    std::string name = place / "tv.XXXXXX";
    if (mkdtemp(name.data()) == nullptr) return;
    path_ = name;
    std::ofstream file(parameters(), std::ios::binary);
    for (uint32_t i = 0; i < parametersSize; ++i) file.put(static_cast<char>(i * 2654435761U >> 13));
}

ScratchFolder::~ScratchFolder() {
    // Retry for up to 10 s: a program that was just killed may still create a file, especially on a busy
    // machine.
    std::error_code error;
    for (int i = 0; i < 2000 && !path_.empty() && fs::exists(path_); ++i) {
        fs::remove_all(path_, error);
        if (error) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

}  // namespace hidlaudio::host
