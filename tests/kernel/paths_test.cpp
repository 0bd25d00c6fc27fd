// SPDX-License-Identifier: Apache-2.0
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "host/kernel/tv_path.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

using host::TvPath;

TEST(Paths, OnlyTheTvsOwnLieBelowTheRoot) {
    // A root under /data: its own files must not be looked for below it a second time.
    host::setTvRoot("/data/some where/tv");
    const std::string root = host::tvRoot();
    for (const char* path : {"/data/vendor/tmp/dtv_svc_is_ready", "/dev/tovi_bectrl", "/data/",
                             "/proc/driver/tovi_bectrl/audio/hrtf_parameter_complete"}) {
        EXPECT_EQ(TvPath(path).real(), root + path);
    }
    for (const char* path :
         {"/data", "/database/x", "data/x", "./data/x", "/dev/tovi_bectrl2", "/dev/tovi", "/proc/driver/x",
          "", "/proc/self/stat", "/tmp/data/x", "/data/some where/tv/soc/config/key"}) {
        EXPECT_EQ(TvPath(path).real(), path) << "must be the very same pointer";
    }
    EXPECT_EQ(TvPath(nullptr).real(), nullptr);
}

TEST(Paths, ErrnoIsThatOfTheRealCall) {
    const PrivateTv tv{"data/folder"};
    const auto errnoAfter = [](auto call) {
        errno = 0;
        EXPECT_LT(call(), 0);
        return errno;
    };
    EXPECT_EQ(errnoAfter([] { return open("/data/none", O_RDONLY); }), ENOENT);
    EXPECT_EQ(errnoAfter([] { return open("/data/folder", O_WRONLY); }), EISDIR);
    EXPECT_EQ(errnoAfter([] { return unlink("/data/folder"); }), EISDIR);
    EXPECT_EQ(errnoAfter([] { return open("/dev/tovi_bectrl", O_RDWR); }), ENOENT);
    EXPECT_EQ(errnoAfter([] { return write(-1, "", 1); }), EBADF);

    // What goes well leaves it alone.
    errno = ESTALE;
    EXPECT_EQ(access("/data/folder", F_OK), 0);
    EXPECT_EQ(access("/", F_OK), 0);
    EXPECT_EQ(errno, ESTALE);
}

}  // namespace
}  // namespace hidlaudio::test
