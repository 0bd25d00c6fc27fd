// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "becomes_true.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::test {

/**
 * A temporary folder, deleted with its content in the destructor. Its path contains a space, as a user's path
 * may.
 */
class PrivateFolder {
  public:
    PrivateFolder() {
        // Programs of the TV refuse folders that other users can write to.
        umask(umask(0) | S_IWGRP | S_IWOTH);
        std::string name = std::filesystem::temp_directory_path() / "hidl audio.XXXXXX";
        if (mkdtemp(name.data()) == nullptr) abort();
        path_ = name;
    }
    ~PrivateFolder() {
        // A thread of the back-end controller's driver may still be writing its final state.
        std::error_code error;
        EXPECT_TRUE(becomesTrue([&] {
            std::filesystem::remove_all(path_, error);
            return !error;
        })) << path_
            << ": " << error.message();
    }
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;

    const std::string& path() const { return path_; }

    std::string operator/(const std::string& name) const { return path_ + "/" + name; }

  private:
    std::string path_;
};

/** Returns the content of a file, or "(none)" if it cannot be opened. */
inline std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();  // does not throw if the file is that of a process that ends
    return file ? content.str() : "(none)";
}

/** Creates or replaces a file. Creates its parent folders. */
inline void makeFile(const std::string& path, const std::string& content = "") {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

/** A temporary folder as the virtual TV of this process, with the given folders in it. */
class PrivateTv : public PrivateFolder {
  public:
    explicit PrivateTv(std::initializer_list<const char*> folders) {
        for (const char* folder : folders) std::filesystem::create_directories(*this / folder);
        makeFile(*this / "tv.json");
        host::setTvRoot(path());
    }
};

}  // namespace hidlaudio::test
