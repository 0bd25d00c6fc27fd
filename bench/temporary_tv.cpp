// SPDX-License-Identifier: Apache-2.0
#include "temporary_tv.h"

#include <stdlib.h>

#include <filesystem>

#include "host/tv_files/tv_root.h"
#include "measure.h"

namespace hidlaudio::bench {

TemporaryTv::TemporaryTv()
    : root_((std::filesystem::temp_directory_path() / "hidlaudio-bench-XXXXXX").string()) {
    if (mkdtemp(root_.data()) == nullptr) die("cannot create a temporary folder");
    host::setTvRoot(root_);
}

TemporaryTv::~TemporaryTv() {
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
}

}  // namespace hidlaudio::bench
