// SPDX-License-Identifier: Apache-2.0
#include "lane.h"

#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>

#include "shared_memory.h"

namespace android::hardware::transport {
namespace {

constexpr size_t kMemorySize = 2 * sizeof(LaneSlot);
/** Lanes take descriptors that connections may need: only the first busy channels get one. */
constexpr int kMaxLanes = 64;

std::atomic<int> gLanesServed{0};

bool isPipe(int fd) {
    struct stat status{};
    return fstat(fd, &status) == 0 && S_ISFIFO(status.st_mode);
}

/**
 * Opens a pipe that a peer has sent anew, so that the peer cannot change whether writes block. It is opened
 * for reading too, so that a write after the peer's end raises no SIGPIPE.
 */
base::unique_fd openAnew(int pipe) {
    char path[32];
    snprintf(path, sizeof(path), "/proc/self/fd/%d", pipe);
    return base::unique_fd(open(path, O_RDWR | O_NONBLOCK | O_CLOEXEC));
}

}  // namespace

std::unique_ptr<Lane> Lane::create() {
    const bool isAllowed = gLanesServed.fetch_add(1) < kMaxLanes;
    base::unique_fd memory;
    void* const shared = isAllowed ? createShared("hidl-lane", kMemorySize, 0, &memory) : nullptr;
    if (shared == nullptr) {
        --gLanesServed;
        return nullptr;
    }
    auto* const slots = static_cast<LaneSlot*>(shared);
    std::unique_ptr<Lane> lane(new Lane(Side::Serves, slots));
    lane->memory_ = std::move(memory);
    slots[1].state.store(kSlotAsleep);
    int ends[2];
    if (pipe2(ends, O_NONBLOCK | O_CLOEXEC) != 0) return nullptr;
    lane->bell_.reset(ends[0]);
    lane->ring_.reset(ends[1]);
    return lane;
}

bool Lane::isSane(const std::vector<base::unique_fd>& fds) {
    return fds.size() == 2 && hasFixedSize(fds[0], kMemorySize) && isWritable(fds[0]) && isPipe(fds[1]);
}

std::unique_ptr<Lane> Lane::adopt(const std::vector<base::unique_fd>& fds) {
    base::unique_fd ring = openAnew(fds[1]);
    void* const slots = ring >= 0 ? mapShared(fds[0], kMemorySize) : nullptr;
    if (slots == nullptr) return nullptr;
    std::unique_ptr<Lane> lane(new Lane(Side::Calls, static_cast<LaneSlot*>(slots)));
    lane->ring_ = std::move(ring);
    return lane;
}

Lane::~Lane() {
    munmap(slots_, kMemorySize);
    if (side_ == Side::Serves) --gLanesServed;
}

void Lane::delivered() {
    memory_.reset();
    ring_.reset();
}

bool Lane::put(const void* packet, size_t size) {
    LaneSlot& slot = out();
    uint32_t state = kSlotEmpty;
    if (size > kLanePacket || slot.state.load() != state) return false;
    memcpy(slot.packet, packet, size);
    slot.size = static_cast<uint32_t>(size);
    slot.sentOnSocket = sentOnSocket_;
    if (!slot.state.compare_exchange_strong(state, kSlotFull)) return false;
    // If the pipe is full, the bell is ringing.
    if (side_ == Side::Calls) (void)!write(ring_, "", 1);
    return true;
}

std::optional<size_t> Lane::take(uint8_t* to) {
    LaneSlot& slot = in();
    // The peer may change the memory at any time: read the size once, and check the packet as copied.
    const size_t size = *static_cast<volatile uint32_t*>(&slot.size);
    if (size > kLanePacket) return std::nullopt;
    memcpy(to, slot.packet, size);
    slot.state.store(side_ == Side::Serves ? kSlotEmpty : kSlotAsleep);
    return size;
}

void Lane::poll() {
    uint32_t state = kSlotAsleep;
    (void)in().state.compare_exchange_strong(state, kSlotEmpty);
}

bool Lane::sleep() {
    uint32_t state = kSlotEmpty;
    (void)in().state.compare_exchange_strong(state, kSlotAsleep);
    return state != kSlotFull;
}

}  // namespace android::hardware::transport
