// SPDX-License-Identifier: Apache-2.0
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <com/tovi/dtv/hardware/audio/3.1/IHdmiAudio.h>
#include <com/tovi/dtv/hardware/audio/3.1/IOutputExternal.h>
#include <com/tovi/dtv/hardware/audio/5.1/IAcousticCalibration.h>
#include <com/tovi/dtv/hardware/audio/5.1/IHeadphoneVirtualizer.h>
#include <com/tovi/dtv/hardware/audio/6.1/IMicControl.h>
#include <cutils/native_handle.h>
#include <gmock/gmock.h>
#include <hidl/ServiceManagement.h>
#include <sys/mman.h>
#include <sys/socket.h>

#include <map>
#include <nlohmann/json.hpp>

#include "tests/support/back_end_tv.h"
#include "tests/support/becomes_true.h"
#include "tests/support/run_program.h"

namespace hidlaudio::test {
namespace {

using namespace com::tovi::dtv::hardware::audio;
using android::sp;
using android::hardware::hidl_handle;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hidl::base::V1_0::IBase;
using nlohmann::json;
using testing::HasSubstr;

constexpr const char* kDumped[] = {"3.1::IHdmiAudio",
                                   "3.1::IOutputEncodingStatusListener",
                                   "3.1::IOutputExternal",
                                   "6.1::IOutputSpeaker",
                                   "5.1::IAcousticCalibration",
                                   "4.0::ICenterSpeaker",
                                   "5.1::IHeadphoneVirtualizer",
                                   "6.1::IMicControl"};

/** Both ends of a pipe or socket pair; the second end is written to. */
struct Ends {
    int ends[2] = {-1, -1};
    ~Ends() {
        for (int& end : ends) closeEnd(end);
    }
    void closeEnd(int& end) {
        if (end >= 0) close(std::exchange(end, -1));
    }
};

class DumpTest : public testing::Test {
  protected:
    DumpTest() { awaitService<V6_1::IMicControl>(); }  // registered last

    static sp<IBase> service(const std::string& name) {
        return android::hardware::defaultServiceManager()->get("com.tovi.dtv.hardware.audio@" + name,
                                                               "default");
    }

    /** Calls debug(). Returns false if the call failed. Ends the test if the call blocks for 60 s. */
    static bool debug(const sp<IBase>& object, const std::vector<int>& fds,
                      const hidl_vec<hidl_string>& options = {}) {
        alarm(60);
        native_handle_t* const native = native_handle_create(static_cast<int>(fds.size()), 0);
        std::copy(fds.begin(), fds.end(), native->data);
        const bool done = object->debug(hidl_handle(native), options).isOk();
        native_handle_delete(native);
        alarm(0);
        return done;
    }

    /** Calls debug() and returns the text that the service wrote. */
    static std::string dumpOf(const sp<IBase>& object, const hidl_vec<hidl_string>& options = {}) {
        Ends pipes;
        EXPECT_EQ(pipe(pipes.ends), 0);
        EXPECT_TRUE(debug(object, {pipes.ends[1]}, options));
        pipes.closeEnd(pipes.ends[1]);
        std::string text;
        char buffer[4096];
        for (ssize_t size; (size = read(pipes.ends[0], buffer, sizeof(buffer))) > 0;)
            text.append(buffer, static_cast<size_t>(size));
        return text;
    }

    static json state(const std::string& name) {
        return json::parse(dumpOf(service(name), {"--json"}), nullptr, false);
    }

    /**
     * Returns the content of all files of the TV. Skips run/: the programs may not have written all entries
     * of the registry.
     */
    std::map<std::string, std::string> files() const {
        std::map<std::string, std::string> contents;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(tv_.path()))
            if (entry.is_regular_file() && entry.path().string().find("/run/") == std::string::npos)
                contents[entry.path()] = contentOf(entry.path());
        return contents;
    }

    const BackEndTv tv_;
    const RunningProgram daemon_{{DAEMON}};
};

TEST_F(DumpTest, EachServiceWritesItsStateAndDoesNotChangeIt) {
    const auto before = files();
    const size_t logged = daemon_.err().size();
    for (const char* name : kDumped) {
        const std::string bareName = strchr(name, 'I') + 1;
        const json dumped = state(name);
        ASSERT_TRUE(dumped.is_object()) << name;
        EXPECT_EQ(dumped["service"], bareName);
        EXPECT_EQ(dumped["version"], VERSION);
        EXPECT_GE(dumped.size(), 3U) << dumped;
        EXPECT_THAT(dumpOf(service(name)), testing::StartsWith(bareName + " (hidlaudio " VERSION ")\n  "));
        EXPECT_THAT(dumpOf(service(name), {"--json", "--help"}), HasSubstr("  --json  "));
        EXPECT_EQ(state(name), dumped);
    }
    EXPECT_EQ(files(), before);
    EXPECT_EQ(daemon_.err().size(), logged) << daemon_.err();
}

struct HdmiCallback : V1_1::IHdmiAudioCallback {
    android::hardware::Return<void> onCapabilityChanged(const hidl_vec<hidl_string>&) override {
        return android::hardware::Void();
    }
};

struct ApplyCallback : V5_0::IHeadphoneVirtualizerCallback {
    android::hardware::Return<void> onApplyResult(int32_t) override { return android::hardware::Void(); }
};

TEST_F(DumpTest, StateFollowsSettings) {
    std::filesystem::create_directories(tv_ / "soc/config");
    const auto external = [] { return state("3.1::IOutputExternal")["persisted"]["bitstream_output_mode"]; };
    EXPECT_EQ(external(), nullptr);
    EXPECT_EQ(awaitService<V3_1::IOutputExternal>()->setForceEncodingEnabled(false), 0);
    EXPECT_EQ(external(), 2);
    makeFile(tv_ / "data/vendor/tovi/hidlaudio/bitstream_output_mode.data", "\1");
    EXPECT_EQ(external(), 1) << "the next start reads a short file in the same way";

    const auto callbacks = [] { return state("3.1::IHdmiAudio")["clients"]["callbacks"]; };
    EXPECT_EQ(callbacks(), 0);
    const sp<HdmiCallback> callback = new HdmiCallback;
    EXPECT_TRUE(awaitService<V3_1::IHdmiAudio>()->setCallback(callback).isOk());
    EXPECT_EQ(callbacks(), 1);

    const auto calibration = [] { return state("5.1::IAcousticCalibration"); };
    const auto room = awaitService<V5_1::IAcousticCalibration>();
    EXPECT_EQ(calibration()["persisted"]["results_channels"], nullptr);
    EXPECT_EQ(room->setCalibratedData({{"FL", {}, 1, 0}, {"secret", {}, 2, 0}}), 0);
    EXPECT_EQ(room->setEnabled(true), 0);
    EXPECT_EQ(room->setSmoothDelayEnabled(true), 0);
    EXPECT_EQ(calibration()["persisted"]["enabled"], 1);
    EXPECT_EQ(calibration()["persisted"]["results_channels"], 2);
    EXPECT_EQ(calibration()["smooth_delay"], json({{"enabled", true}, {"channels", 2}}));
    EXPECT_EQ(dumpOf(room).find("secr"), std::string::npos);
}

TEST_F(DumpTest, StateShowsProgressOfUpload) {
    tv_.behave("hang\n");
    const auto virtualizer = awaitService<V5_1::IHeadphoneVirtualizer>();
    const auto hrtf = [] { return state("5.1::IHeadphoneVirtualizer")["hrtf_buffer"]; };
    const int32_t handle = virtualizer->allocateParameterBuffer(V5_0::ParamType::HRTF, 2);
    EXPECT_EQ(virtualizer->append(handle, {7}), 0);
    EXPECT_EQ(hrtf()["filled"], 1);
    EXPECT_EQ(hrtf()["upload"], "none");
    EXPECT_EQ(virtualizer->append(handle, {7}), 0);
    EXPECT_EQ(virtualizer->apply(handle, new ApplyCallback), 0);
    // The driver reports the transfer some time after apply() has returned.
    EXPECT_TRUE(becomesTrue([&] { return contentOf(tv_.stateFile(host::UploadKind::Hrtf))[0] == 1; }));
    EXPECT_EQ(hrtf()["upload"], "transferring");
    const int32_t other = virtualizer->allocateParameterBuffer(V5_0::ParamType::DEVICE, 0);
    EXPECT_EQ(virtualizer->apply(other, new ApplyCallback), 0);
    EXPECT_EQ(state("5.1::IHeadphoneVirtualizer")["device_buffer"]["upload"], "waiting");
    EXPECT_EQ(virtualizer->cancel(handle), 0);
    EXPECT_TRUE(becomesTrue([&] { return hrtf()["upload"] == "none"; }));
    EXPECT_EQ(hrtf()["allocated"], false);
}

TEST_F(DumpTest, UnknownOptionPrintsHelp) {
    const hidl_string odd(std::string("--\"\\\x1b\0\xff", 7));
    EXPECT_THAT(dumpOf(service(kDumped[0]), {"--json", odd}),
                HasSubstr("Unknown option \"--\\\"\\\\\\u001b\\u0000\\ufffd\"\nOptions:\n  --json  "));
    EXPECT_LT(dumpOf(service(kDumped[0]), {std::string(100000, 'x')}).size(), 400U);
}

/** Fills a pipe or socket until a write would block. Restores the descriptor's flags. */
void fill(int fd) {
    const int flags = fcntl(fd, F_GETFL);
    fcntl(fd, F_SETFL, flags | O_NONBLOCK);
    const std::string zeros(4096, '\0');
    while (write(fd, zeros.data(), zeros.size()) > 0) {
    }
    fcntl(fd, F_SETFL, flags);
}

TEST_F(DumpTest, NeverWaitsForReader) {
    Ends full, readerless, sockets, closedSocket, dead;
    ASSERT_EQ(pipe(full.ends) + pipe(readerless.ends) + pipe(dead.ends), 0);
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, sockets.ends), 0);
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, closedSocket.ends), 0);
    fill(full.ends[1]);
    fill(sockets.ends[1]);
    readerless.closeEnd(readerless.ends[0]);
    closedSocket.closeEnd(closedSocket.ends[0]);
    const int flags = fcntl(full.ends[1], F_GETFL);
    const Ends file{{open((tv_ / "tv.txt").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600), -1}};
    for (const char* name : kDumped) {
        const sp<IBase> object = service(name);
        for (const int fd : {full.ends[1], sockets.ends[1], readerless.ends[1], closedSocket.ends[1],
                             full.ends[0] /* read end */, file.ends[0]})
            EXPECT_TRUE(debug(object, {fd})) << name << fd;
        EXPECT_TRUE(debug(object, {})) << name;
        EXPECT_TRUE(object->debug(hidl_handle(), {}).isOk()) << name;
    }
    EXPECT_EQ(fcntl(full.ends[1], F_GETFL), flags);
    const bool isMemory = fcntl(file.ends[0], F_GET_SEALS) >= 0;  // if the folder is on a tmpfs
    EXPECT_EQ(contentOf(tv_ / "tv.txt").empty(), !isMemory)
        << "an app could serve any other file and block the daemon";
    for (const char* reason : {"Resource temporarily unavailable", "Broken pipe", "Bad file descriptor"})
        EXPECT_THAT(daemon_.err(), HasSubstr(std::string("the state cannot be written whole: ") + reason));

    // Sockets and memory files work like pipes. Of several descriptors only the first is used.
    Ends good, second;
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, good.ends) + pipe(second.ends), 0);
    const Ends memory{{memfd_create("state", MFD_CLOEXEC), -1}};
    const sp<IBase> object = service(kDumped[0]);
    EXPECT_TRUE(debug(object, {good.ends[1], second.ends[1]}) && debug(object, {memory.ends[0]}));
    second.closeEnd(second.ends[1]);
    char text[8192] = {};
    const ssize_t size = recv(good.ends[0], text, sizeof(text), MSG_DONTWAIT);
    EXPECT_EQ(std::string(text), dumpOf(object));
    EXPECT_EQ(read(second.ends[0], text, sizeof(text)), 0);
    EXPECT_EQ(lseek(memory.ends[0], 0, SEEK_CUR), size);
}

}  // namespace
}  // namespace hidlaudio::test
