// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "host/hidl/src/api/proxy.h"
#include "host/hidl/src/connection/peer_connection.h"
#include "pool.h"

namespace android::hardware::transport {

/** The listening socket: each connection becomes a link. */
class ListenSource : public Source {
  public:
    explicit ListenSource(base::unique_fd socket);
    int fd() const override { return socket_.get(); }
    void onReadable(DispatchGuard& turn) override;

  private:
    void accept();
    void refuse(int error);

    const base::unique_fd socket_;
    base::unique_fd reserve_;
};

/**
 * The process of a link's peer. Closes the control channel when the process ends: its sockets
 * need not close then, because another process, or this one, may hold the other ends.
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

/** A link's control channel. Ends the link when the channel does. */
class ControlSource : public Source {
  public:
    /**
     * Has the pool watch the link and its peer.
     *
     * @param expectsHello the peer connected to us and has yet to say who it is
     */
    static std::shared_ptr<ControlSource> watch(const std::shared_ptr<PeerConnection>& link,
                                                bool expectsHello);

    /** @param peer the link's peer, which the pool watches already; may be null */
    ControlSource(std::shared_ptr<PeerConnection> link, std::shared_ptr<PeerSource> peer, bool expectsHello)
        : link_(std::move(link)),
          peer_(std::move(peer)),
          control_(link_->control()),
          expectsHello_(expectsHello) {}
    int fd() const override { return control_->fd(); }
    void onReadable(DispatchGuard& turn) override;
    const std::shared_ptr<PeerConnection>& link() const { return link_; }

    /** Takes the link out of the process; once, whoever comes first. */
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
    bool short_ = false;  // ended for lack of a descriptor or of address space
    std::atomic<bool> finished_{false};
};

/** A channel on which a thread of the peer calls us. */
class CallSource : public Source {
  public:
    CallSource(std::shared_ptr<PeerConnection> link, std::shared_ptr<Channel> channel)
        : link_(std::move(link)), channel_(std::move(channel)) {}
    int fd() const override { return channel_->fd(); }
    void onReadable(DispatchGuard& turn) override;
    bool oneAtATime() const override { return true; }

  private:
    const std::shared_ptr<PeerConnection> link_;
    const std::shared_ptr<Channel> channel_;
};

/** Waits until a link's peer reads again, to give back what it could not be given before. */
class ReleaseSource : public Source {
  public:
    /** @param control a descriptor of the link's control channel, for this alone */
    ReleaseSource(std::shared_ptr<PeerConnection> link, base::unique_fd control)
        : link_(std::move(link)), control_(std::move(control)) {}
    int fd() const override { return control_.get(); }
    bool awaitsRoom() const override { return true; }
    void onReadable(DispatchGuard& turn) override;

  private:
    const std::shared_ptr<PeerConnection> link_;
    const base::unique_fd control_;
};

/** Tells the recipients of an object that is known to be dead: at once, but as any notice on the pool. */
class ObituarySource : public Source {
  public:
    /** @param due readable from the start */
    ObituarySource(const sp<BpHwBinder>& proxy, base::unique_fd due) : proxy_(proxy), due_(std::move(due)) {}
    int fd() const override { return due_.get(); }
    void onReadable(DispatchGuard& turn) override;

  private:
    const sp<BpHwBinder> proxy_;
    const base::unique_fd due_;
};

}  // namespace android::hardware::transport
