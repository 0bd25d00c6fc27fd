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
 * One end of a call channel's lane (wire.h): two slots of shared memory, and a pipe that wakes the side that
 * serves the channel. Used by the thread that uses the channel; bell() by any thread.
 */
class Lane {
  public:
    enum class Side { Serves, Calls };

    /**
     * Creates the end of the side that serves. Returns null if the process has enough lanes, or no
     * descriptors or memory: the channel works without.
     */
    static std::unique_ptr<Lane> create();
    /** Returns whether descriptors that a peer sent are those of a lane. */
    static bool isSane(const std::vector<base::unique_fd>& fds);
    /** Opens the end of the side that calls. Returns null if that is impossible. @param fds as isSane() */
    static std::unique_ptr<Lane> adopt(const std::vector<base::unique_fd>& fds);

    ~Lane();
    Lane(const Lane&) = delete;
    Lane& operator=(const Lane&) = delete;

    Side side() const { return side_; }
    /** Returns the descriptors for the peer: the memory, and the end of the pipe to write to. */
    std::vector<int> descriptors() const { return {memory_.get(), ring_.get()}; }
    /** Closes the descriptors that the peer has been sent. */
    void delivered();

    /**
     * Passes a packet to the peer. Returns false if it is too large, or the peer is not ready for it: a
     * server has not taken the last one, or a caller sleeps on the socket.
     */
    [[nodiscard]] bool put(const void* packet, size_t size);
    /** Counts a packet that this side has sent on the channel's socket. */
    void sentOnSocket() { ++sentOnSocket_; }

    /** Returns whether the peer has passed a packet. */
    bool full() const { return in().state.load() == kSlotFull; }
    /** Returns whether packets that the peer sent on the socket come before the one in the slot. */
    bool socketFirst() const { return in().sentOnSocket != receivedOnSocket_; }
    void receivedOnSocket() { ++receivedOnSocket_; }
    /** Takes the packet. Returns its size, or `std::nullopt` if that is invalid. @param to kLanePacket bytes
     */
    std::optional<size_t> take(uint8_t* to);

    /** Called by a caller before it polls full(): lets the server answer in the slot. */
    void poll();
    /** Called before it blocks: from now on, the server answers on the socket. Returns false if full(). */
    [[nodiscard]] bool sleep();

    /** The descriptor of a server that becomes readable when the caller passes a packet. */
    int bell() const { return bell_.get(); }

  private:
    Lane(Side side, LaneSlot* slots) : side_(side), slots_(slots) {}

    LaneSlot& in() const { return slots_[side_ == Side::Serves ? 0 : 1]; }
    LaneSlot& out() const { return slots_[side_ == Side::Serves ? 1 : 0]; }

    const Side side_;
    LaneSlot* const slots_;
    base::unique_fd memory_;
    base::unique_fd bell_;  // the pipe's end to read, of the server
    base::unique_fd ring_;  // its end to write
    uint32_t sentOnSocket_ = 0;
    uint32_t receivedOnSocket_ = 0;
};

}  // namespace android::hardware::transport
