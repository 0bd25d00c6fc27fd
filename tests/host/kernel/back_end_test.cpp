// SPDX-License-Identifier: Apache-2.0
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <numeric>

#include "host/tv_files/back_end_behaviour.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

constexpr unsigned long kSet[] = {0xC0106301, 0xC0106300};
constexpr unsigned long kCancel[] = {0xC0106303, 0xC0106302};
constexpr const char* kStateFiles[] = {"/proc/driver/tovi_bectrl/audio/device_parameter_complete",
                                       "/proc/driver/tovi_bectrl/audio/hrtf_parameter_complete"};

struct Argument {
    uint32_t count;
    uint32_t zero;
    uint64_t address;
};

Argument argumentOf(const std::string& payload) {
    return {static_cast<uint32_t>(payload.size()), 0, reinterpret_cast<uintptr_t>(payload.data())};
}

/** Opens the device and executes a command. Returns 0 or the errno. */
int command(unsigned long request, void* argument) {
    const int device = open("/dev/tovi_bectrl", O_RDWR);
    if (device < 0) return errno;
    const int error = ioctl(device, request, argument) == 0 ? 0 : errno;
    close(device);
    return error;
}

/** Returns the state byte and the result byte. Reads them in the same way as the daemon. */
std::pair<int, int> stateOf(int kind) {
    unsigned char bytes[2] = {0xEE, 0xEE};
    FILE* file = fopen(kStateFiles[kind], "r");
    if (file == nullptr) return {-1, errno};
    EXPECT_EQ(fread(bytes, 1, 2, file), 2U);
    EXPECT_EQ(fgetc(file), EOF);
    fclose(file);
    return {bytes[0], bytes[1]};
}

/** Opens a state file and watches it with epoll, as the daemon does. */
class Watch {
  public:
    explicit Watch(int kind) : kind_(kind), file_(fopen(kStateFiles[kind], "r")), epoll_(epoll_create(1)) {
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.fd = fileno(file_);
        EXPECT_EQ(epoll_ctl(epoll_, EPOLL_CTL_ADD, fileno(file_), &event), 0) << strerror(errno);
    }
    ~Watch() {
        fclose(file_);
        close(epoll_);
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    bool isReadable(int timeout = 0) const {
        epoll_event event{};
        const int count = epoll_wait(epoll_, &event, 1, timeout);
        EXPECT_TRUE(count <= 0 || event.data.fd == fileno(file_));
        return count > 0;
    }

    /** Waits for a state other than "in progress" and returns it with the result. */
    std::pair<int, int> end() const {
        std::pair<int, int> state{1, 0};
        while (state.first == 1 && isReadable(-1)) state = stateOf(kind_);
        return state;
    }

  private:
    int kind_;
    FILE* file_;
    int epoll_;
};

class BackEnd : public testing::Test {
  protected:
    BackEnd() : payload_(300000, '\0') {
        std::iota(payload_.begin(), payload_.end(), '\0');
        for (const char* file : kStateFiles) makeFile(tv_ / file, host::idleTransferState());
    }

    void behave(const std::string& lines) { makeFile(tv_ / "bectrl/behaviour", lines); }

    std::string received(int kind) const {
        return contentOf(tv_ / (kind == 0 ? "bectrl/device.bin" : "bectrl/hrtf.bin"));
    }

    std::pair<int, int> upload(int kind, const std::string& payload) {
        const Watch watch(kind);
        Argument argument = argumentOf(payload);
        EXPECT_EQ(command(kSet[kind], &argument), 0);
        return watch.end();
    }

    PrivateTv tv_{"bectrl"};
    std::string payload_;
};

TEST_F(BackEnd, StateFileIsReadableFromChangeUntilNewStateIsRead) {
    behave("hang");
    const Watch watch(0), other(1);
    EXPECT_FALSE(watch.isReadable());
    Argument argument = argumentOf(payload_);
    ASSERT_EQ(command(kSet[0], &argument), 0);
    FILE* unread = fopen(kStateFiles[0], "r");
    EXPECT_TRUE(watch.isReadable());
    EXPECT_TRUE(watch.isReadable()) << "opened, but not read";
    fclose(unread);
    FILE* early = fopen(kStateFiles[0], "r");
    EXPECT_EQ(stateOf(0).first, 1);
    EXPECT_FALSE(watch.isReadable());
    EXPECT_FALSE(Watch(0).isReadable()) << "earlier changes do not make a new descriptor readable";
    ASSERT_EQ(command(kCancel[0], nullptr), 0);
    EXPECT_TRUE(watch.isReadable(-1));
    char stale[2];
    EXPECT_EQ(fread(stale, 1, 2, early), 2U);
    fclose(early);
    EXPECT_TRUE(watch.isReadable()) << "the state was read from a descriptor opened before the change";
    EXPECT_EQ(watch.end(), std::pair(0, 3));
    EXPECT_FALSE(watch.isReadable());
    EXPECT_FALSE(other.isReadable());
    EXPECT_EQ(received(0), "(none)") << "a cancelled upload is not published";
}

TEST_F(BackEnd, StateIsIdleAfterProcessDiedDuringTransfer) {
    behave("hang");
    const pid_t child = fork();
    if (child == 0) {
        Argument argument = argumentOf(payload_);
        _exit(command(kSet[1], &argument));
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(contentOf(tv_ / kStateFiles[1]), std::string("\x01\0", 2));
    EXPECT_EQ(stateOf(1), std::pair(0, 0));
    behave("");
    EXPECT_EQ(upload(1, payload_), std::pair(0, 1));
    EXPECT_EQ(received(1), payload_);
}

TEST_F(BackEnd, UploadIsRefusedIfItsStateCannotBeWritten) {
    Argument argument = argumentOf(payload_);
    signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit nothing{0, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &nothing);
    const int error = command(kSet[0], &argument);
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(error, EFBIG);
    EXPECT_EQ(stateOf(0), std::pair(0, 0));
    EXPECT_EQ(upload(0, payload_), std::pair(0, 1));
}

}  // namespace
}  // namespace hidlaudio::test
