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
    int fd() const override { return mSocket.get(); }
    void ready(Turn& turn) override;

  private:
    void accept();
    void refuse(int error);

    const base::unique_fd mSocket;
    base::unique_fd mReserve;
};

/**
 * The process of a link's peer. Closes the control channel when the process ends: its sockets
 * need not close then, because another process, or this one, may hold the other ends.
 */
class PeerSource : public Source {
  public:
    PeerSource(std::shared_ptr<Link> link, base::unique_fd process)
        : mLink(std::move(link)), mProcess(std::move(process)) {}
    int fd() const override { return mProcess.get(); }
    void ready(Turn& turn) override;

  private:
    const std::shared_ptr<Link> mLink;
    const base::unique_fd mProcess;
};

/** A link's control channel. Ends the link when the channel does. */
class ControlSource : public Source {
  public:
    /**
     * Has the pool watch the link and its peer.
     *
     * @param expectsHello the peer connected to us and has yet to say who it is
     */
    static std::shared_ptr<ControlSource> watch(const std::shared_ptr<Link>& link, bool expectsHello);

    /** @param peer the link's peer, which the pool watches already; may be null */
    ControlSource(std::shared_ptr<Link> link, std::shared_ptr<PeerSource> peer, bool expectsHello)
        : mLink(std::move(link)),
          mPeer(std::move(peer)),
          mControl(mLink->control()),
          mExpectsHello(expectsHello) {}
    int fd() const override { return mControl->fd(); }
    void ready(Turn& turn) override;
    const std::shared_ptr<Link>& link() const { return mLink; }

    /** Takes the link out of the process; once, whoever comes first. */
    void finish();

  private:
    bool handle(IncomingMessage&& message, Turn& turn);
    bool hello(const MessageHeader& header);
    bool newCallChannel(IncomingMessage&& message);
    bool oneway(IncomingMessage&& message, Turn& turn);
    bool endForShortage();

    const std::shared_ptr<Link> mLink;
    const std::shared_ptr<PeerSource> mPeer;
    const std::shared_ptr<Channel> mControl;
    bool mExpectsHello;
    bool mShort = false;  // ended for lack of a descriptor or of address space
    std::atomic<bool> mFinished{false};
};

/** A channel on which a thread of the peer calls us. */
class CallSource : public Source {
  public:
    CallSource(std::shared_ptr<Link> link, std::shared_ptr<Channel> channel)
        : mLink(std::move(link)), mChannel(std::move(channel)) {}
    int fd() const override { return mChannel->fd(); }
    void ready(Turn& turn) override;
    bool oneAtATime() const override { return true; }

  private:
    const std::shared_ptr<Link> mLink;
    const std::shared_ptr<Channel> mChannel;
};

/** Waits until a link's peer reads again, to give back what it could not be given before. */
class ReleaseSource : public Source {
  public:
    /** @param control a descriptor of the link's control channel, for this alone */
    ReleaseSource(std::shared_ptr<Link> link, base::unique_fd control)
        : mLink(std::move(link)), mControl(std::move(control)) {}
    int fd() const override { return mControl.get(); }
    bool awaitsRoom() const override { return true; }
    void ready(Turn& turn) override;

  private:
    const std::shared_ptr<Link> mLink;
    const base::unique_fd mControl;
};

/** Tells the recipients of an object that is known to be dead: at once, but as any notice on the pool. */
class ObituarySource : public Source {
  public:
    /** @param due readable from the start */
    ObituarySource(const sp<BpHwBinder>& proxy, base::unique_fd due) : mProxy(proxy), mDue(std::move(due)) {}
    int fd() const override { return mDue.get(); }
    void ready(Turn& turn) override;

  private:
    const sp<BpHwBinder> mProxy;
    const base::unique_fd mDue;
};

}  // namespace android::hardware::transport
