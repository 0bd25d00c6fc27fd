// SPDX-License-Identifier: Apache-2.0
#include "lane.h"

#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>

namespace android::hardware::transport {
namespace {

constexpr size_t kMemorySize = 2 * sizeof(LaneSlot);
constexpr int kSeals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL;
/** Lanes take descriptors that connections may need: only the first busy channels get one. */
constexpr int kMaxLanes = 64;

std::atomic<int> gLanesServed{0};

LaneSlot* mapSlots(int fd) {
    void* memory = mmap(nullptr, kMemorySize, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    return memory == MAP_FAILED ? nullptr : static_cast<LaneSlot*>(memory);
}

bool isSlots(int fd) {
    // If the owner could shrink the memory, reading it could raise SIGBUS.
    const int seals = fcntl(fd, F_GET_SEALS);
    struct stat status{};
    return seals >= 0 && (seals & F_SEAL_SHRINK) != 0 &&
           (seals & (F_SEAL_WRITE | F_SEAL_FUTURE_WRITE)) == 0 && fstat(fd, &status) == 0 &&
           static_cast<uint64_t>(status.st_size) == kMemorySize;
}

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
    if (gLanesServed.fetch_add(1) >= kMaxLanes) {
        --gLanesServed;
        return nullptr;
    }
    base::unique_fd memory(memfd_create("hidl-lane", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    LaneSlot* slots = nullptr;
    if (memory >= 0 && ftruncate(memory, kMemorySize) == 0 && fcntl(memory, F_ADD_SEALS, kSeals) == 0)
        slots = mapSlots(memory);
    if (slots == nullptr) {
        --gLanesServed;
        return nullptr;
    }
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
    return fds.size() == 2 && isSlots(fds[0]) && isPipe(fds[1]);
}

std::unique_ptr<Lane> Lane::adopt(const std::vector<base::unique_fd>& fds) {
    base::unique_fd ring = openAnew(fds[1]);
    LaneSlot* const slots = ring >= 0 ? mapSlots(fds[0]) : nullptr;
    if (slots == nullptr) return nullptr;
    std::unique_ptr<Lane> lane(new Lane(Side::Calls, slots));
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
