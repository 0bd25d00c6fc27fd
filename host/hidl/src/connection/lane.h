// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>
#include <stddef.h>
#include <stdint.h>
#include <transport/wire.h>

#include <memory>
#include <optional>
#include <vector>

namespace android::hardware::transport {

/**
 * One end of a call channel's lane (wire.h): two slots of shared memory and a bell, an eventfd, for each
 * side. A packet through the lane needs no copy by the kernel, and often no system call to receive it.
 * Used by the thread that uses the channel; bell() by any thread.
 */
class Lane {
  public:
    /**
     * Creates the end of the side that serves the channel. Returns null if the process has lanes enough, or
     * no descriptors or memory: the channel works without.
     */
    static std::unique_ptr<Lane> create();
    /** Returns whether descriptors that a peer sent are those of a lane. */
    static bool isSane(const std::vector<base::unique_fd>& fds);
    /** Opens the end of the side that calls. Takes the descriptors; returns null if no memory is left. */
    static std::unique_ptr<Lane> adopt(std::vector<base::unique_fd>& fds);

    ~Lane();
    Lane(const Lane&) = delete;
    Lane& operator=(const Lane&) = delete;

    /** Returns the descriptors for the peer: memory, the bell of this side, the bell of the peer. */
    std::vector<int> descriptors() const { return {memory_.get(), ownBell_.get(), peersBell_.get()}; }
    /** Closes the descriptor of the memory, which the peer has been sent. */
    void delivered() { memory_.reset(); }

    /** Passes a packet to the peer. Returns false if it is too large or the slot is full. */
    [[nodiscard]] bool put(const void* packet, size_t size);
    /** Counts a packet that this side has sent on the channel's socket. */
    void sentOnSocket() { ++sentOnSocket_; }

    /** Returns whether the peer has passed a packet. */
    bool full() const { return in().full.load() != 0; }
    /** Returns whether packets that the peer sent on the socket come before the one in the slot. */
    bool socketFirst() const { return in().sentOnSocket != receivedOnSocket_; }
    void receivedOnSocket() { ++receivedOnSocket_; }
    /** Takes the packet. Returns its size, or nothing if that is impossible. @param to kLanePacket bytes */
    std::optional<size_t> take(uint8_t* to);

    /** Blocks until a packet may be in the slot or on `socket`, or the peer has closed that. */
    void wait(int socket);

    /** The descriptor that the peer makes readable when it passes a packet. */
    int bell() const { return ownBell_.get(); }

  private:
    enum class Side : size_t { Serves, Calls };

    Lane(Side side, LaneSlot* slots) : side_(side), slots_(slots) {}

    LaneSlot& in() const { return slots_[side_ == Side::Serves ? 0 : 1]; }
    LaneSlot& out() const { return slots_[side_ == Side::Serves ? 1 : 0]; }

    const Side side_;
    LaneSlot* const slots_;
    base::unique_fd memory_;
    base::unique_fd ownBell_;
    base::unique_fd peersBell_;
    base::unique_fd epoll_;  // made by the first wait()
    uint32_t sentOnSocket_ = 0;
    uint32_t receivedOnSocket_ = 0;
};

}  // namespace android::hardware::transport
