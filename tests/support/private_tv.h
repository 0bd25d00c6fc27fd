// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "becomes_true.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::test {

/**
 * A folder of the test's own, gone with everything in it when the test ends. It has a space in its
 * path, as a user's folder may have.
 */
class PrivateFolder {
  public:
    PrivateFolder() {
        // Programs of the TV refuse folders that others may write.
        umask(umask(0) | S_IWGRP | S_IWOTH);
        std::string name = std::filesystem::temp_directory_path() / "hidl audio.XXXXXX";
        if (mkdtemp(name.data()) == nullptr) abort();
        path_ = name;
    }
    ~PrivateFolder() {
        // A thread of the back-end controller's driver may still write its last state.
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

/** The whole of a file; "(none)" where there is no such file. */
inline std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "(none)";
}

/** Makes a file, and the folders on the way to it. */
inline void makeFile(const std::string& path, const std::string& content = "") {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

/** A private folder that is the virtual TV of this process; holds the given folders. */
class PrivateTv : public PrivateFolder {
  public:
    explicit PrivateTv(std::initializer_list<const char*> folders) {
        for (const char* folder : folders) std::filesystem::create_directories(*this / folder);
        makeFile(*this / "tv.json");
        host::setTvRoot(path());
    }
};

}  // namespace hidlaudio::test
