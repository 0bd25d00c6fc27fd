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

/** What there is once in a process: its name to others, its links, what it registered. Any thread. */
class Process {
  public:
    /** Made at the first use and never destroyed, so that objects may use it while the process ends. */
    static Process& self();

    Pool& pool() { return pool_; }

    /**
     * Registers `binder` as `instance` of each of `interfaces`, the most derived
     * first. Starts to listen at the first call.
     *
     * @return OK, or UNKNOWN_ERROR, logged
     */
    status_t registerService(const sp<BHwBinder>& binder, const std::vector<std::string>& interfaces,
                             const std::string& instance);
    /** The object that a registry entry names, or null if its process, or here its registration, is gone. */
    sp<IBinder> find(const RegistryEntry& entry);
    /** Our registered object of that number, null where there is none. */
    sp<BHwBinder> registered(uint64_t object);

    /** A process connected to us and said its name. */
    void remember(uint64_t process, const std::shared_ptr<PeerConnection>& link);
    void forget(const PeerConnection& link);
    /** A process has connected to us; false where it has so many connections that it may have no more. */
    bool admit(const std::shared_ptr<PeerConnection>& link);
    /** Whether the link's process may open one more channel; false where it has too many on all its links. */
    bool admitsChannel(const PeerConnection& link);

  private:
    // A process needs one link to another. All that it can have is a third of the
    // descriptors that a process usually gets.
    static constexpr size_t kMaxLinksOfPeer = 64;
    static constexpr size_t kMaxChannelsOfPeer = 256;

    Process();
    bool listen() REQUIRES(mutex_);
    std::vector<std::shared_ptr<PeerConnection>> linksFrom(pid_t peer);
    std::vector<sp<BHwBinder>> takeUnnamedWithLock() REQUIRES(mutex_);
    std::shared_ptr<PeerConnection> linkTo(const RegistryEntry& entry);
    std::shared_ptr<PeerConnection> connect(const RegistryEntry& entry);
    void endDeadLinks();

    const uint64_t name_;
    Pool pool_;
    std::mutex mutex_;
    std::string socketName_ GUARDED_BY(mutex_);
    base::unique_fd alive_ GUARDED_BY(mutex_);
    std::map<uint64_t, sp<BHwBinder>> registered_ GUARDED_BY(mutex_);
    std::map<std::string, uint64_t> names_ GUARDED_BY(mutex_);  // the object, by interface and instance
    std::map<uint64_t, std::weak_ptr<PeerConnection>> links_ GUARDED_BY(mutex_);  // by the peer's name
    // Of links that we made, by their number.
    std::map<uint64_t, std::weak_ptr<ControlSource>> connected_ GUARDED_BY(mutex_);
    // Of links that peers made, likewise.
    std::map<uint64_t, std::weak_ptr<PeerConnection>> accepted_ GUARDED_BY(mutex_);
};

}  // namespace android::hardware::transport
