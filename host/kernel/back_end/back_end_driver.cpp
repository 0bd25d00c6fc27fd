// SPDX-License-Identifier: Apache-2.0
#include "back_end_driver.h"

#include <android-base/thread_annotations.h>
#include <android/log.h>
#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <list>
#include <mutex>

#include "back_end_transfer.h"
#include "host/kernel/calls/real_calls.h"
#include "host/tv_files/back_end_behaviour.h"
#include "host/tv_files/tv_root.h"
#include "transfer_state.h"

namespace hidlaudio::host {
namespace {

constexpr uint8_t kInProgress = 1;
constexpr uint8_t kResultFailed = 0x02;
constexpr uint8_t kResultCancelled = 0x03;

/** The argument of a set command. Has the same layout in 32-bit and 64-bit programs. */
struct SetArgument {
    uint32_t count;
    uint32_t zero;
    uint64_t address;
};
static_assert(sizeof(SetArgument) == 16, "the command codes contain this size");

struct Command {
    uint32_t request;
    UploadKind kind;
    bool isSet;
};

constexpr Command kCommands[] = {
    {0xC0106300, UploadKind::Hrtf, true},
    {0xC0106301, UploadKind::Device, true},
    {0xC0106302, UploadKind::Hrtf, false},
    {0xC0106303, UploadKind::Device, false},
};

struct Driver {
    std::mutex mutex;  // also serializes changes of a kind's files and state
    std::list<Transfer> transfers GUARDED_BY(mutex);

    void erase(const Transfer& transfer) REQUIRES(mutex) {
        transfers.remove_if([&transfer](const Transfer& other) { return &other == &transfer; });
    }
};

/** Never destroyed: a transfer may outlive the program's main(). */
Driver& driver() {
    static Driver& theDriver = *new Driver;
    return theDriver;
}

using Lock = std::lock_guard<std::mutex>;

int failWith(int error) {
    errno = error;
    return -1;
}

/**
 * Reads the behaviour file. Returns false after logging if the file is unusable: using the default
 * behavior instead would hide the mistake.
 */
bool readBehaviour(std::vector<BehaviourLine>& lines) {
    std::string problem;
    if (readBehaviourLines(tvRoot(), lines, problem)) return true;
    __android_log_print(ANDROID_LOG_ERROR, kBackEndTag, "%s", problem.c_str());
    return false;
}

/**
 * Publishes the received file as the last complete upload. Returns 0 or an errno. The incoming file
 * stays until the final state is published: if the process is killed before that, the transfer counts
 * as interrupted.
 */
int keepReceived(const std::string& incoming, const std::string& received) {
    const std::string temporary = received + ".new";
    unlink(temporary.c_str());
    if (link(incoming.c_str(), temporary.c_str()) != 0) return errno;
    return rename(temporary.c_str(), received.c_str()) == 0 ? 0 : errno;
}

/** Removes a transfer that has ended and publishes its result. */
void finish(const Transfer& transfer, int error) {
    const std::string root = transfer.root;
    const UploadKind kind = transfer.kind;
    const std::string incoming = root + incomingFile(kind);
    const Lock lock(driver().mutex);
    if (transfer.cancelled) error = ECANCELED;
    if (error == 0) error = keepReceived(incoming, root + receivedFile(kind));
    if (error != 0 && error != ECANCELED) {
        __android_log_print(ANDROID_LOG_ERROR, kBackEndTag, "the transfer of %s parameters failed: %s",
                            nameOf(kind), strerror(error));
    }
    // The state may need the space that the failed transfer has filled.
    if (error != 0) (void)!ftruncate(transfer.incoming.get(), 0);
    const uint8_t failed = error == ECANCELED ? kResultCancelled : kResultFailed;
    const uint8_t result = error == 0 ? transfer.endResult : failed;
    const uint8_t state = transfer.endState;
    // Erase before publishing: a listener may start the next transfer at once.
    driver().erase(transfer);
    publishTransferState(root, kind, state, result);
    unlink(incoming.c_str());
}

void* transferThread(void* argument) {
    const auto& transfer = *static_cast<const Transfer*>(argument);
    finish(transfer, runTransfer(transfer));
    return nullptr;
}

int startThread(Transfer& transfer) {
    pthread_t thread;
    const int error = __real_pthread_create(&thread, nullptr, transferThread, &transfer);
    if (error == 0) pthread_detach(thread);
    return error;
}

/** Makes the state idle if the incoming file exists, but no process holds its lock. */
void endCutOffLocked(const std::string& root, UploadKind kind) {
    const std::string path = root + incomingFile(kind);
    const android::base::unique_fd incoming(open(path.c_str(), O_RDWR | O_CLOEXEC));
    if (incoming.get() < 0 || flock(incoming.get(), LOCK_EX | LOCK_NB) != 0) return;
    unlink(path.c_str());
    publishTransferState(root, kind, 0, 0);
}

int openDescriptors(Transfer& transfer) {
    const std::string path = transfer.root + incomingFile(transfer.kind);
    transfer.timer.reset(__real_timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC));
    transfer.cancel.reset(eventfd(0, EFD_CLOEXEC));
    if (transfer.timer.get() < 0 || transfer.cancel.get() < 0) return errno;
    transfer.incoming.reset(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
    if (transfer.incoming.get() < 0) return errno == EEXIST ? EBUSY : errno;
    return flock(transfer.incoming.get(), LOCK_EX | LOCK_NB) == 0 ? 0 : EBUSY;
}

int checkArgument(const SetArgument& argument) {
    if (argument.zero != 0) return EINVAL;
    const bool reachable = argument.address <= UINTPTR_MAX - argument.count;
    return reachable && (argument.address != 0 || argument.count == 0) ? 0 : EFAULT;
}

int start(UploadKind kind, const SetArgument& argument, const std::vector<BehaviourLine>& lines) {
    const auto value = [&](BackEndSetting setting) { return settingValue(lines, kind, setting); };
    const std::string root = tvRoot();
    const Lock lock(driver().mutex);
    endCutOffLocked(root, kind);
    Transfer& transfer = driver().transfers.emplace_back();
    transfer.root = root;
    transfer.kind = kind;
    transfer.payload = reinterpret_cast<const char*>(static_cast<uintptr_t>(argument.address));
    transfer.size = argument.count;
    transfer.rate = static_cast<uint64_t>(value(BackEndSetting::Rate));
    transfer.hangs = value(BackEndSetting::Hang) != 0;
    transfer.endState = static_cast<uint8_t>(value(BackEndSetting::State));
    transfer.endResult = static_cast<uint8_t>(value(BackEndSetting::Result));
    transfer.start = startOnClock();
    int error = openDescriptors(transfer);
    if (error != 0) {
        driver().erase(transfer);
        return error;
    }
    error = publishTransferState(root, kind, kInProgress, 0);
    if (error == 0) error = startThread(transfer);
    if (error == 0) return 0;
    driver().erase(transfer);
    endCutOffLocked(root, kind);
    return error;
}

int set(UploadKind kind, const void* argument, const std::vector<BehaviourLine>& lines) {
    if (argument == nullptr) return EFAULT;
    SetArgument copy;
    memcpy(&copy, argument, sizeof(copy));
    const int error = checkArgument(copy);
    return error != 0 ? error : start(kind, copy, lines);
}

int cancel(UploadKind kind, const void* argument) {
    if (argument != nullptr) return EINVAL;
    const std::string root = tvRoot();
    const Lock lock(driver().mutex);
    for (Transfer& transfer : driver().transfers) {
        if (transfer.kind != kind || transfer.root != root) continue;
        transfer.cancelled = true;
        eventfd_write(transfer.cancel.get(), 1);
        return 0;
    }
    return EINVAL;
}

}  // namespace

int openBackEnd(int flags) {
    if (access((tvRoot() + kBackEndFolder).c_str(), F_OK) != 0) return failWith(ENOENT);
    std::vector<BehaviourLine> lines;
    if (!readBehaviour(lines)) return failWith(EINVAL);
    if (settingValue(lines, UploadKind::Device, BackEndSetting::OpenFails) != 0) return failWith(EIO);
    return __real_open("/dev/null", flags);
}

int controlBackEnd(unsigned long request, const void* argument) {
    // A driver receives only the lower 32 bits of the request.
    const Command* const command = std::find_if(
        std::begin(kCommands), std::end(kCommands),
        [request](const Command& known) { return known.request == static_cast<uint32_t>(request); });
    if (command == std::end(kCommands)) return failWith(ENOTTY);
    std::vector<BehaviourLine> lines;
    if (!readBehaviour(lines)) return failWith(EINVAL);
    if (settingValue(lines, command->kind, BackEndSetting::IoctlFails) != 0) return failWith(EIO);
    const int error = command->isSet ? set(command->kind, argument, lines) : cancel(command->kind, argument);
    return error == 0 ? 0 : failWith(error);
}

void endCutOffTransfer(const std::string& root, UploadKind kind) {
    if (access((root + incomingFile(kind)).c_str(), F_OK) != 0) return;
    const Lock lock(driver().mutex);
    endCutOffLocked(root, kind);
}

}  // namespace hidlaudio::host
