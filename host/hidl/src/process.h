// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hwbinder/Binder.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "link.h"
#include "pool.h"
#include "registry.h"

namespace android::hardware::transport {

class ControlSource;

/** What there is once in a process: its name to others, its links, what it registered. Any thread. */
class Process {
  public:
    /** Made at the first use and never destroyed, so that objects may use it while the process ends. */
    static Process& self();

    Pool& pool() { return mPool; }

    /**
     * Registers `binder` as `instance` of each of `interfaces`, the most derived
     * first. Starts to listen at the first call.
     *
     * @return OK, or UNKNOWN_ERROR, logged
     */
    status_t registerService(const sp<BHwBinder>& binder, const std::vector<std::string>& interfaces,
                             const std::string& instance);
    /** The object that a registry entry names; null where its process is gone. */
    sp<IBinder> find(const RegistryEntry& entry);
    /** Our registered object of that number, null where there is none. */
    sp<BHwBinder> registered(uint64_t object);

    /** A process connected to us and said its name. */
    void remember(uint64_t process, const std::shared_ptr<Link>& link);
    void forget(const Link& link);

  private:
    Process();
    bool listen();
    std::shared_ptr<Link> linkTo(const RegistryEntry& entry);
    std::shared_ptr<Link> connect(const RegistryEntry& entry);
    void endDeadLinks();

    const uint64_t mName;
    Pool mPool;
    std::mutex mMutex;  // what follows
    std::string mSocketName;
    base::unique_fd mAlive;
    std::map<uint64_t, sp<BHwBinder>> mRegistered;
    std::map<uint64_t, std::weak_ptr<Link>> mLinks;               // by the peer's name
    std::map<uint64_t, std::weak_ptr<ControlSource>> mConnected;  // of links that we made, by their number
};

}  // namespace android::hardware::transport
