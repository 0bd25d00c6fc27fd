// SPDX-License-Identifier: Apache-2.0
#include "private_tv.h"

#include <android/log.h>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>

#include "host/tv_files/tv_root.h"
#include "input.h"

namespace hidlaudio::fuzz {
namespace {

void removeTv() {
    std::error_code ignored;
    std::filesystem::remove_all(host::tvRoot(), ignored);
}

}  // namespace

void silenceLog() {
    __android_log_set_logger([](const auto*, auto...) {});
}

void makePrivateTv() {
    std::string folder = std::filesystem::temp_directory_path().string() + "/hidlaudio-fuzz.XXXXXX";
    require(mkdtemp(folder.data()) != nullptr);
    host::setTvRoot(folder);
    require(atexit(removeTv) == 0);
}

TvFile::TvFile(const std::string& path) {
    const std::string real = host::tvRoot() + path;
    std::filesystem::create_directories(std::filesystem::path(real).parent_path());
    fd_.reset(open(real.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    require(fd_.get() >= 0);
}

void TvFile::fill(const uint8_t* data, size_t size) const {
    require(ftruncate(fd_.get(), 0) == 0);
    require(pwrite(fd_.get(), data, size, 0) == static_cast<ssize_t>(size));
}

}  // namespace hidlaudio::fuzz
