// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "host/kernel/calls/tv_path.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::test {
namespace {

using host::TvPath;

TEST(Paths, OnlyPathsOfTvAreMappedBelowRoot) {
    // The root is below /data: paths that already are below the root must not be mapped again.
    host::setTvRoot("/data/some where/tv");
    const std::string root = host::tvRoot();
    for (const char* path : {"/data/vendor/tmp/dtv_svc_is_ready", "/dev/tovi_bectrl", "/data/",
                             "/proc/driver/tovi_bectrl/audio/hrtf_parameter_complete"}) {
        EXPECT_EQ(TvPath(path).real(), root + path);
    }
    for (const char* path :
         {"/data", "/database/x", "data/x", "./data/x", "/dev/tovi_bectrl2", "/dev/tovi", "/proc/driver/x",
          "", "/proc/self/stat", "/tmp/data/x", "/data/some where/tv/soc/config/key"}) {
        EXPECT_EQ(TvPath(path).real(), path) << "must be the same pointer";
    }
    EXPECT_EQ(TvPath(nullptr).real(), nullptr);
}

}  // namespace
}  // namespace hidlaudio::test
