// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>
#include <hwbinder/Binder.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "host/hidl/src/connection/peer_connection.h"
#include "host/hidl/src/registry/registry.h"
#include "pool.h"

namespace android::hardware::transport {

class ControlSource;

/** The transport's state of this process: its name, links and registered objects. Any thread. */
class Process {
  public:
    /** Created at the first use and never destroyed, so that objects may use it while the process exits. */
    static Process& self();

    Pool& pool() { return pool_; }

    /**
     * Registers `binder` as `instance` of each of `interfaces`, the most derived
     * first, on the TV at tvRoot(). The first call for a TV creates the listening socket.
     *
     * @return OK, or UNKNOWN_ERROR (logged)
     */
    status_t registerService(const sp<BHwBinder>& binder, const std::vector<std::string>& interfaces,
                             const std::string& instance);
    /** Returns the object of a registry entry, or null if its process has ended or it is not registered. */
    sp<IBinder> find(const RegistryEntry& entry);
    /** Returns this process's registered object of that number, or null. */
    sp<BHwBinder> registered(uint64_t object);

    /** Stores the link of a process that has connected and sent its name. */
    void remember(uint64_t process, const std::shared_ptr<PeerConnection>& link);
    void forget(const PeerConnection& link);
    /** Adds the link of a process that has connected. Returns false if it has too many links. */
    bool admit(const std::shared_ptr<PeerConnection>& link);
    /** Returns whether the link's process may open another channel, counting those of all its links. */
    bool admitsChannel(const PeerConnection& link);

    // A process needs only one link to another. A peer at these limits takes about a third of the default
    // limit of descriptors.
    static constexpr size_t kMaxLinksOfPeer = 64;
    static constexpr size_t kMaxChannelsOfPeer = 256;

  private:
    Process();
    bool listen(const std::string& tv) REQUIRES(mutex_);
    std::vector<std::shared_ptr<PeerConnection>> linksFrom(pid_t peer);
    std::vector<sp<BHwBinder>> takeUnnamedWithLock() REQUIRES(mutex_);
    std::shared_ptr<PeerConnection> linkTo(const RegistryEntry& entry);
    std::shared_ptr<PeerConnection> connect(const RegistryEntry& entry);
    void endDeadLinks();

    const uint64_t name_;
    Pool pool_;
    std::mutex mutex_;
    // Locks that show other processes that this one is alive. The key is the TV's folder: a process can
    // register services on several TVs.
    std::map<std::string, base::unique_fd> lives_ GUARDED_BY(mutex_);
    std::map<uint64_t, sp<BHwBinder>> registered_ GUARDED_BY(mutex_);
    std::map<std::string, uint64_t> names_ GUARDED_BY(mutex_);  // object by TV/interface/instance
    std::map<uint64_t, std::weak_ptr<PeerConnection>> links_ GUARDED_BY(mutex_);  // by name of the peer
    // Links that this process opened, by PeerConnection::number.
    std::map<uint64_t, std::weak_ptr<ControlSource>> connected_ GUARDED_BY(mutex_);
    // Links that peers opened, by PeerConnection::number.
    std::map<uint64_t, std::weak_ptr<PeerConnection>> accepted_ GUARDED_BY(mutex_);
};

}  // namespace android::hardware::transport
