// SPDX-License-Identifier: Apache-2.0
#include "lane.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stdio.h>
#include <string.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <string_view>

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

/** A process must not keep another kind of descriptor: a peer's socket would never be seen to close. */
bool isEventCounter(int fd) {
    char path[32];
    char target[32] = {};
    snprintf(path, sizeof(path), "/proc/self/fd/%d", fd);
    return readlink(path, target, sizeof(target) - 1) > 0 &&
           std::string_view(target) == "anon_inode:[eventfd]";
}

void ring(int bell) {
    const uint64_t once = 1;
    // If the counter is full, the bell is ringing.
    (void)!write(bell, &once, sizeof(once));
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
    lane->ownBell_.reset(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    lane->peersBell_.reset(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    return lane->ownBell_ >= 0 && lane->peersBell_ >= 0 ? std::move(lane) : nullptr;
}

bool Lane::isSane(const std::vector<base::unique_fd>& fds) {
    return fds.size() == 3 && isSlots(fds[0]) && isEventCounter(fds[1]) && isEventCounter(fds[2]);
}

std::unique_ptr<Lane> Lane::adopt(std::vector<base::unique_fd>& fds) {
    LaneSlot* const slots = mapSlots(fds[0]);
    if (slots == nullptr) return nullptr;
    std::unique_ptr<Lane> lane(new Lane(Side::Calls, slots));
    lane->peersBell_ = std::move(fds[1]);
    lane->ownBell_ = std::move(fds[2]);
    return lane;
}

Lane::~Lane() {
    munmap(slots_, kMemorySize);
    if (side_ == Side::Serves) --gLanesServed;
}

bool Lane::put(const void* packet, size_t size) {
    LaneSlot& slot = out();
    if (size > kLanePacket || slot.full.load() != 0) return false;
    memcpy(slot.packet, packet, size);
    slot.size = static_cast<uint32_t>(size);
    slot.sentOnSocket = sentOnSocket_;
    slot.full.store(1);
    // A serving thread may be waiting for other channels as well: it is always rung for.
    if (side_ == Side::Calls || slot.asleep.exchange(0) != 0) ring(peersBell_.get());
    return true;
}

std::optional<size_t> Lane::take(uint8_t* to) {
    LaneSlot& slot = in();
    // The peer may change the memory at any time: read the size once, and check the packet as copied.
    const size_t size = *static_cast<volatile uint32_t*>(&slot.size);
    if (size > kLanePacket) return std::nullopt;
    memcpy(to, slot.packet, size);
    slot.full.store(0);
    return size;
}

void Lane::wait(int socket) {
    if (epoll_ < 0) {
        epoll_.reset(epoll_create1(EPOLL_CLOEXEC));
        epoll_event packet{EPOLLIN, {}};
        // Edge-triggered, so that the counter need not be read.
        epoll_event rung{EPOLLIN | EPOLLET, {}};
        if (epoll_ < 0 || epoll_ctl(epoll_, EPOLL_CTL_ADD, socket, &packet) != 0 ||
            epoll_ctl(epoll_, EPOLL_CTL_ADD, ownBell_, &rung) != 0) {
            epoll_.reset();
        }
    }
    LaneSlot& slot = in();
    slot.asleep.store(1);
    if (slot.full.load() != 0) {
        slot.asleep.store(0);
        return;
    }
    epoll_event event{};
    if (epoll_ >= 0) {
        (void)epoll_wait(epoll_, &event, 1, -1);
        return;
    }
    // No descriptor is left for an epoll instance.
    pollfd events[] = {{socket, POLLIN, 0}, {ownBell_.get(), POLLIN, 0}};
    uint64_t rings = 0;
    if (poll(events, 2, -1) > 0) (void)!read(ownBell_, &rings, sizeof(rings));
}

}  // namespace android::hardware::transport
