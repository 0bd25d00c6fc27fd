// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "HidlTransport"

#include "process.h"

#include <log/log.h>
#include <sys/random.h>
#include <unistd.h>

#include <set>

#include "host/hidl/src/api/proxy.h"
#include "host/hidl/src/connection/peer.h"
#include "host/hidl/src/registry/registry_folder.h"
#include "host/hidl/src/registry/registry_sockets.h"
#include "host/tv_files/tv_root.h"
#include "sources.h"

namespace android::hardware::transport {
namespace {

uint64_t randomName() {
    uint64_t name = 0;
    while (getrandom(&name, sizeof(name), 0) != sizeof(name)) {
    }
    return name;
}

}  // namespace

Process& Process::self() {
    static Process* const process = new Process();
    return *process;
}

Process::Process() : name_(randomName()) {}

bool Process::listen(const std::string& tv) {
    if (lives_.count(tv) != 0) return true;
    if (!makeRegistry()) return false;
    registrySweep();
    // Lock before creating the socket: other processes delete sockets of processes that hold no lock.
    base::unique_fd life = lockLifeOf(name_);
    if (life < 0) return false;
    base::unique_fd socket = registryListen(name_);
    if (socket < 0) return false;
    lives_[tv] = std::move(life);
    pool_.add(std::make_shared<ListenSource>(std::move(socket)));
    return true;
}

status_t Process::registerService(const sp<BHwBinder>& binder, const std::vector<std::string>& interfaces,
                                  const std::string& instance) {
    std::vector<RegistryEntry> entries;
    for (const std::string& interface : interfaces) {
        if (!registryNameFits(interface, instance)) {
            ALOGE("'%s' is no name for a service of %s", instance.c_str(), interface.c_str());
            return UNKNOWN_ERROR;
        }
        entries.push_back({interface, instance, getpid(), name_, binder->exportId()});
    }
    std::vector<sp<BHwBinder>> replaced;  // destroyed after the mutex is released
    std::lock_guard<std::mutex> lock(mutex_);
    const std::string tv = hidlaudio::host::tvRoot();
    if (!listen(tv)) return UNKNOWN_ERROR;
    registered_[binder->exportId()] = binder;
    const bool added = registryAdd(entries);
    if (added) {
        for (const RegistryEntry& entry : entries)
            names_[tv + "/" + entry.interface + "/" + entry.instance] = entry.object;
    }
    replaced = takeUnnamedWithLock();
    return added ? OK : UNKNOWN_ERROR;
}

std::vector<sp<BHwBinder>> Process::takeUnnamedWithLock() {
    std::set<uint64_t> named;
    for (const auto& [name, object] : names_) named.insert(object);
    std::vector<sp<BHwBinder>> taken;
    for (auto it = registered_.begin(); it != registered_.end();) {
        const bool stays = named.count(it->first) != 0;
        if (!stays) taken.push_back(it->second);
        it = stays ? std::next(it) : registered_.erase(it);
    }
    return taken;
}

sp<BHwBinder> Process::registered(uint64_t object) {
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = registered_.find(object);
    return found != registered_.end() ? found->second : nullptr;
}

void Process::remember(uint64_t process, const std::shared_ptr<PeerConnection>& link) {
    std::lock_guard<std::mutex> lock(mutex_);
    links_[process] = link;
}

void Process::forget(const PeerConnection& link) {
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto it = links_.begin(); it != links_.end();) {
        auto known = it->second.lock();
        it = known == nullptr || known.get() == &link ? links_.erase(it) : std::next(it);
    }
    connected_.erase(link.number);
    accepted_.erase(link.number);
}

std::vector<std::shared_ptr<PeerConnection>> Process::linksFrom(pid_t peer) {
    std::vector<std::shared_ptr<PeerConnection>> links;
    std::lock_guard<std::mutex> lock(mutex_);
    for (const auto& [number, weak] : accepted_) {
        auto link = weak.lock();
        if (link != nullptr && link->peerPid == peer) links.push_back(std::move(link));
    }
    return links;
}

bool Process::admit(const std::shared_ptr<PeerConnection>& link) {
    if (linksFrom(link->peerPid).size() >= kMaxLinksOfPeer) return false;
    std::lock_guard<std::mutex> lock(mutex_);
    accepted_[link->number] = link;
    return true;
}

bool Process::admitsChannel(const PeerConnection& link) {
    size_t channels = link.peerChannels();
    for (const auto& other : linksFrom(link.peerPid)) {
        if (other.get() != &link) channels += other->peerChannels();
    }
    return channels < kMaxChannelsOfPeer;
}

// Ends the links of ended servers if no pool does so.
void Process::endDeadLinks() {
    if (pool_.started()) return;
    std::vector<std::shared_ptr<ControlSource>> dead;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        for (const auto& [number, weak] : connected_) {
            auto source = weak.lock();
            if (source != nullptr && source->link()->dead()) dead.push_back(source);
        }
    }
    for (const auto& source : dead) source->finish();
}

std::shared_ptr<PeerConnection> Process::connect(const RegistryEntry& entry) {
    base::unique_fd socket = registryConnect(entry.pid, entry.process);
    Peer peer;
    if (socket < 0 || !peerOf(socket, &peer) || peer.pid != entry.pid) return nullptr;
    auto link = std::make_shared<PeerConnection>(std::move(socket), peer.pid, peer.uid);
    // An error shows when the link is used.
    (void)link->sendControl(messageHeader(kHello, kWireVersion, name_));
    link->announceReceiveSpace(*link->control());
    auto source = ControlSource::watch(link, false);
    {
        std::lock_guard<std::mutex> lock(mutex_);
        links_[entry.process] = link;
        connected_[link->number] = source;
    }
    if (link->ended()) forget(*link);  // a pool thread may have called forget() too early
    return link;
}

std::shared_ptr<PeerConnection> Process::linkTo(const RegistryEntry& entry) {
    endDeadLinks();  // without a lock, because it destroys objects and calls death recipients
    // One thread at a time, so that there is only one link to a process and one proxy per object.
    static std::mutex* const connecting = new std::mutex();
    std::lock_guard<std::mutex> one(*connecting);
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = links_.find(entry.process);
        auto link = found != links_.end() ? found->second.lock() : nullptr;
        if (link != nullptr && !link->dead() && link->peerPid == entry.pid) return link;
    }
    return connect(entry);
}

sp<IBinder> Process::find(const RegistryEntry& entry) {
    if (entry.process == name_) return registered(entry.object);
    std::shared_ptr<PeerConnection> link = linkTo(entry);
    return link != nullptr ? link->registeredProxy(entry.object) : nullptr;
}

}  // namespace android::hardware::transport
