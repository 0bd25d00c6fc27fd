// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "host/hidl/src/api/proxy.h"
#include "host/hidl/src/connection/peer_connection.h"
#include "pool.h"

namespace android::hardware::transport {

/** The listening socket. Accepts each connection as a link. */
class ListenSource : public Source {
  public:
    explicit ListenSource(base::unique_fd socket);
    int fd() const override { return socket_.get(); }
    void onReadable(DispatchGuard& turn) override;

  private:
    /** Accepts a connection if the shortage is over. Otherwise refuses it, for `error`, and returns none. */
    base::unique_fd acceptInShortage(int error);

    const base::unique_fd socket_;
    base::unique_fd reserve_;
};

/**
 * The process of a link's peer. Shuts the control channel down when the process ends: its sockets may
 * stay open, because another process, or this one, may hold their other ends.
 */
class PeerSource : public Source {
  public:
    PeerSource(std::shared_ptr<PeerConnection> link, base::unique_fd process)
        : link_(std::move(link)), process_(std::move(process)) {}
    int fd() const override { return process_.get(); }
    void onReadable(DispatchGuard& turn) override;

  private:
    const std::shared_ptr<PeerConnection> link_;
    const base::unique_fd process_;
};

/** A link's control channel. Ends the link when the channel closes or the peer violates the format. */
class ControlSource : public Source {
  public:
    /**
     * Makes the pool watch the link and its peer.
     *
     * @param expectsHello whether the peer connected to this process and must send kHello first
     */
    static std::shared_ptr<ControlSource> watch(const std::shared_ptr<PeerConnection>& link,
                                                bool expectsHello);

    /** @param peer source of the link's peer, which the pool already watches; may be null */
    ControlSource(std::shared_ptr<PeerConnection> link, std::shared_ptr<PeerSource> peer, bool expectsHello)
        : link_(std::move(link)),
          peer_(std::move(peer)),
          control_(link_->control()),
          expectsHello_(expectsHello) {}
    int fd() const override { return control_->fd(); }
    void onReadable(DispatchGuard& turn) override;
    const std::shared_ptr<PeerConnection>& link() const { return link_; }

    /** Removes the link from the process and ends it. Only the first call has an effect. Any thread. */
    void finish();

  private:
    bool handle(IncomingMessage&& message, DispatchGuard& turn);
    bool hello(const MessageHeader& header);
    bool newCallChannel(IncomingMessage&& message);
    bool oneway(IncomingMessage&& message, DispatchGuard& turn);
    bool endForShortage();

    const std::shared_ptr<PeerConnection> link_;
    const std::shared_ptr<PeerSource> peer_;
    const std::shared_ptr<Channel> control_;
    bool expectsHello_;
    bool endedForShortage_ = false;  // of descriptors or address space
    std::atomic<bool> finished_{false};
};

/** A channel on which a thread of the peer calls this process. */
class CallSource : public Source {
  public:
    CallSource(std::shared_ptr<PeerConnection> link, std::shared_ptr<Channel> channel)
        : link_(std::move(link)), channel_(std::move(channel)) {}
    int fd() const override { return channel_->fd(); }
    void onReadable(DispatchGuard& turn) override;
    int bell() const override { return channel_->bell(); }
    bool oneAtATime() const override { return true; }

  private:
    void countCall();

    const std::shared_ptr<PeerConnection> link_;
    const std::shared_ptr<Channel> channel_;
    int calls_ = 0;  // up to kLaneCalls
};

/** Waits until a link's peer reads its control channel again, then sends the pending releases. */
class ReleaseSource : public Source {
  public:
    /** @param control duplicate of the control channel's descriptor */
    ReleaseSource(std::shared_ptr<PeerConnection> link, base::unique_fd control)
        : link_(std::move(link)), control_(std::move(control)) {}
    int fd() const override { return control_.get(); }
    bool awaitsWritable() const override { return true; }
    void onReadable(DispatchGuard& turn) override;

  private:
    const std::shared_ptr<PeerConnection> link_;
    const base::unique_fd control_;
};

/** Sends the death notices of an object whose process has already ended, on a pool thread. */
class ObituarySource : public Source {
  public:
    /** @param due a descriptor that is already readable */
    ObituarySource(const sp<BpHwBinder>& proxy, base::unique_fd due) : proxy_(proxy), due_(std::move(due)) {}
    int fd() const override { return due_.get(); }
    void onReadable(DispatchGuard& turn) override;

  private:
    const sp<BpHwBinder> proxy_;
    const base::unique_fd due_;
};

}  // namespace android::hardware::transport
