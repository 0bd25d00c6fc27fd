// SPDX-License-Identifier: Apache-2.0
#include "client_process.h"

#include <com/tovi/dtv/hardware/audio/1.1/IHdmiAudio.h>
#include <com/tovi/dtv/hardware/audio/5.0/IHeadphoneVirtualizer.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>

#include "events.h"
#include "options.h"
#include "results.h"

namespace tovi_audio_vts {
namespace {

using namespace ::com::tovi::dtv::hardware::audio;

struct HdmiCallback : V1_1::IHdmiAudioCallback {
    Return<void> onCapabilityChanged(const hidl_vec<hidl_string>& names) override {
        std::string line = "changed";
        for (const std::string name : names) line += " " + name;
        puts(line.c_str());
        return Void();
    }
};

struct UploadCallback : V5_0::IHeadphoneVirtualizerCallback {
    Return<void> onApplyResult(int32_t result) override {
        printf("result %d\n", result);
        return Void();
    }
};

bool offerHdmiCallback(const std::string& instance) {
    const sp<V1_1::IHdmiAudio> service = V1_1::IHdmiAudio::tryGetService(instance);
    if (service == nullptr || !service->setCallback(new HdmiCallback).isOk()) return false;
    puts("ready");
    return true;
}

bool fillBuffer(const std::string& instance) {
    const sp<V5_0::IHeadphoneVirtualizer> service = V5_0::IHeadphoneVirtualizer::tryGetService(instance);
    if (service == nullptr) return false;
    const int32_t handle = service->allocateParameterBuffer(V5_0::ParamType::HRTF, 2).withDefault(0);
    if (service->append(handle, {7}).withDefault(-1) != 0) return false;
    printf("ready %d\n", handle);
    return true;
}

bool startUpload(const std::string& instance) {
    const sp<V5_0::IHeadphoneVirtualizer> service = V5_0::IHeadphoneVirtualizer::tryGetService(instance);
    if (service == nullptr) return false;
    const auto size = static_cast<int32_t>(options().uploadBytes);
    const int32_t handle = service->allocateParameterBuffer(V5_0::ParamType::HRTF, size).withDefault(0);
    const int32_t step = service->getMaxAppendSize().withDefault(1);
    for (int32_t left = size; left > 0; left -= step) {
        const std::vector<uint8_t> data(static_cast<size_t>(std::min(left, step)));
        if (service->append(handle, data).withDefault(-1) != 0) return false;
    }
    if (service->apply(handle, new UploadCallback).withDefault(-1) != 0) return false;
    printf("ready %d\n", handle);
    return true;
}

}  // namespace

void runClient(const std::string& role, const std::string& instance) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    setvbuf(stdout, nullptr, _IOLBF, 0);
    const bool ready = role == "hdmi"     ? offerHdmiCallback(instance)
                       : role == "buffer" ? fillBuffer(instance)
                       : role == "upload" ? startUpload(instance)
                                          : false;
    if (!ready) {
        puts("failed");
        _exit(1);
    }
    for (;;) pause();
}

ClientProcess::ClientProcess(const std::string& role, const std::string& instance) {
    int pipes[2];
    if (pipe(pipes) != 0) {
        ADD_FAILURE() << "cannot create a pipe";
        return;
    }
    output_ = pipes[0];
    std::string program = options().program;
    std::string client = kClientArgument + role;
    std::string name = instance;
    std::string upload = std::to_string(options().uploadBytes);
    char* arguments[] = {program.data(), client.data(), name.data(), upload.data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipes[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, pipes[0]);
    posix_spawn_file_actions_addclose(&actions, pipes[1]);
    if (posix_spawn(&pid_, program.c_str(), &actions, nullptr, arguments, environ) != 0) pid_ = -1;
    posix_spawn_file_actions_destroy(&actions);
    close(pipes[1]);
    const std::string line = nextLine().value_or("no output");
    EXPECT_EQ(line.substr(0, 5), "ready") << "the client process has failed: " << line;
    if (line.size() > 6) handle_ = atoi(line.c_str() + 6);
}

ClientProcess::~ClientProcess() {
    kill();
    close(output_);
}

std::optional<std::string> ClientProcess::nextLine() {
    for (;;) {
        if (const size_t end = read_.find('\n'); end != std::string::npos) {
            std::string line = read_.substr(0, end);
            read_.erase(0, end + 1);
            return line;
        }
        pollfd output{output_, POLLIN, 0};
        char buffer[4096];
        if (poll(&output, 1, static_cast<int>(std::chrono::milliseconds(kLimit).count())) <= 0)
            return std::nullopt;
        const ssize_t count = read(output_, buffer, sizeof(buffer));
        if (count <= 0) return std::nullopt;
        read_.append(buffer, static_cast<size_t>(count));
    }
}

void ClientProcess::kill() {
    if (pid_ <= 0) return;
    ::kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
}

}  // namespace tovi_audio_vts
