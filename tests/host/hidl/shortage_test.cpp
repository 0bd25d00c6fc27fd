// SPDX-License-Identifier: Apache-2.0
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <hidl/ServiceManagement.h>
#include <sys/resource.h>

#include <future>

#include "raw_peer.h"

// Processes that have no descriptors or no address space left.
namespace hidlaudio::test {
namespace {

using testing::AnyOf;
using testing::HasSubstr;

constexpr uint32_t kLarge = 300'000;
constexpr uint32_t kInSharedMemory = kBulkThreshold + 1;

const auto kFails = HasSubstr("FAILED_TRANSACTION");
const auto kNoDescriptor = HasSubstr("Too many open files");
const auto kNoMemory = HasSubstr("NO_MEMORY");

/** Limits a resource of a process while this object exists. */
class Limited {
  public:
    Limited(pid_t pid, __rlimit_resource resource, rlim_t limit) : pid_(pid), resource_(resource) {
        EXPECT_EQ(prlimit(pid, resource, nullptr, &before_), 0);
        const rlimit limited{limit, before_.rlim_max};
        EXPECT_EQ(prlimit(pid, resource, &limited, nullptr), 0);
    }
    ~Limited() { EXPECT_EQ(prlimit(pid_, resource_, &before_, nullptr), 0); }
    Limited(const Limited&) = delete;
    Limited& operator=(const Limited&) = delete;

  private:
    const pid_t pid_;
    const __rlimit_resource resource_;
    rlimit before_{};
};

/** Returns the lowest free descriptor number of the process: as a limit, it leaves no descriptor free. */
rlim_t lowestFree(pid_t pid) {
    rlim_t number = 0;
    while (std::filesystem::is_symlink(procFolder(pid) + "/fd/" + std::to_string(number))) ++number;
    return number;
}

class ShortageTest : public ServedTest {
  protected:
    ShortageTest() {
        EXPECT_EQ(probe_->add(1, 2), 3);
        native_handle_t* made = native_handle_create(1, 0);
        made->data[0] = open("/dev/null", O_RDONLY | O_CLOEXEC);
        files_.first.setTo(made, true);
    }

    std::string passHandle() {
        return errorOf(probe_->readFiles(files_, [](const auto&, const auto&) {}));
    }
    std::string createHandle() {
        return errorOf(
            probe_->wait(1, files_.first));  // the handle is no gate, so the method returns at once
    }
    std::string callFromThread() {
        return std::async(std::launch::async, [this] { return errorOf(probe_->add(1, 2)); }).get();
    }
    std::string send(size_t size) { return errorOf(probe_->takeBytes(hidl_vec<uint8_t>(size))); }
    std::string echo(size_t size) {
        return errorOf(probe_->echoBytes(hidl_vec<uint8_t>(size), [](const auto&) {}));
    }
    std::string make(uint32_t size) {
        return errorOf(probe_->makeBytes(size, [](const auto&) {}));
    }
    /** Expects that all calls succeed after the shortage. */
    void expectRecovery() {
        EXPECT_EQ(passHandle(), "");
        EXPECT_EQ(callFromThread(), "");
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(echo(kLarge), "");
            EXPECT_EQ(make(kLarge), "");
        }
    }

    Files files_;
};

TEST_F(ShortageTest, ServiceWithoutDescriptorsFailsTheCallsThatNeedOne) {
    {
        const Limited limited(service_.pid(), RLIMIT_NOFILE, lowestFree(service_.pid()));
        EXPECT_THAT(createHandle(), kFails);
        EXPECT_THAT(echo(kLarge), kFails);
        EXPECT_THAT(make(kLarge), kNoDescriptor);
        EXPECT_THAT(callFromThread(), kFails);
        EXPECT_EQ(probe_->add(1, 2), 3);
        RawPeer refused;
        const std::optional<RawMessage> reason = receiveRaw(refused.control());
        ASSERT_TRUE(reason);
        EXPECT_EQ(reason->header.type, kTurnedAway);
        EXPECT_EQ(static_cast<status_t>(reason->header.code), -EMFILE);
        EXPECT_TRUE(closes(refused.control()));
        Helper other({"find"});
        EXPECT_THAT(other.readLine(), kNoDescriptor);
        EXPECT_EQ(other.wait(), 0);
    }
    expectRecovery();
}

// A oneway call has no reply, so the next call returns the reason.
TEST_F(ShortageTest, ServiceThatLosesAOnewayCallEndsTheConnectionWithTheReason) {
    {
        const Limited limited(service_.pid(), RLIMIT_NOFILE, lowestFree(service_.pid()));
        EXPECT_EQ(send(kLarge), "");
        EXPECT_TRUE(becomesTrue([&] { return !errorOf(probe_->add(1, 2)).empty(); }));
        EXPECT_THAT(errorOf(probe_->add(1, 2)), kNoDescriptor);
    }
    EXPECT_EQ(service_.get()->add(1, 2), 3);
}

TEST_F(ShortageTest, ClientWithoutDescriptorsGetsErrors) {
    {
        const Limited limited(getpid(), RLIMIT_NOFILE, lowestFree(getpid()));
        const auto manager = android::hardware::defaultServiceManager();
        EXPECT_THAT(passHandle(), kFails);
        EXPECT_THAT(make(kLarge), kFails);
        EXPECT_THAT(echo(kLarge), kNoDescriptor);
        EXPECT_THAT(callFromThread(), kNoDescriptor);
        EXPECT_THAT(errorOf(manager->list([](const auto&) {})), kNoDescriptor);
        EXPECT_THAT(errorOf(manager->debugDump([](const auto&) {})), kNoDescriptor);
        EXPECT_THAT(errorOf(manager->get(IProbe::descriptor, "default")), kNoDescriptor);
        EXPECT_EQ(probe_->add(1, 2), 3);
    }
    expectRecovery();
    EXPECT_EQ(service_.get()->add(1, 2), 3);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST_F(ShortageTest, ServiceWithoutAddressSpaceFailsTheCallsThatNeedSome) {
    if (HIDLAUDIO_EMULATED) GTEST_SKIP() << "the emulator does not apply this limit to the program";
    EXPECT_EQ(errorOf(probe_->makeBytes(1, [](const auto&) {})), "");
    {
        const std::string statm = contentOf(procFolder(service_.pid()) + "/statm");
        const rlim_t used = std::stoul(statm) * static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
        const Limited limited(service_.pid(), RLIMIT_AS, used + 512 * 1024);
        EXPECT_THAT(echo(kInSharedMemory), kFails);
        EXPECT_THAT(make(kInSharedMemory), kNoMemory);
        EXPECT_EQ(probe_->add(1, 2), 3);
    }
    expectRecovery();
}
#endif

}  // namespace
}  // namespace hidlaudio::test
