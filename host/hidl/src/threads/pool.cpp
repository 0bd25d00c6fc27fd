// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "HidlTransport"

#include "pool.h"

#include <errno.h>
#include <hidl/HidlInternal.h>
#include <log/log.h>
#include <signal.h>
#include <string.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <string>
#include <thread>
#include <utility>

#include "spin.h"

namespace android::hardware::transport {
namespace {

// Blocks all signals while a pool thread is created: it inherits the mask, so that only the program's
// own threads receive signals.
class SignalsBlocked {
  public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, &before_);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

  private:
    sigset_t before_;
};

// Returns the key of the source that became ready first. Polls for a while before it blocks.
uint64_t waitReady(int epoll) {
    // Fetch one event at a time: the kernel then moves a source that is still ready behind the others.
    epoll_event event{};
    if (maySpin()) {
        const int64_t end = nowNanoseconds() + kSpinNanoseconds;
        do {
            if (epoll_wait(epoll, &event, 1, 0) == 1) return event.data.u64;
        } while (nowNanoseconds() < end);
    }
    int count;
    while ((count = epoll_wait(epoll, &event, 1, -1)) != 1) {
        if (count < 0 && errno != EINTR) details::logAlwaysFatal("The pool can't wait for calls.");
    }
    return event.data.u64;
}

// The key of an event: that of the source, and which of its descriptors is ready.
uint64_t eventKey(uint64_t source, bool bell) {
    return 2 * source + (bell ? 1 : 0);
}

bool isBell(uint64_t eventKey) {
    return eventKey % 2 != 0;
}

}  // namespace

Pool::Pool() : epoll_(epoll_create1(EPOLL_CLOEXEC)) {
    if (epoll_ < 0)
        details::logAlwaysFatal((std::string("No epoll instance for the pool: ") + strerror(errno)).c_str());
}

// Adds or changes a descriptor of the source in the epoll set.
void Pool::watch(const Source& source, Which which, From from, int operation) {
    const int fd = which == Which::Bell ? source.bell() : source.fd();
    epoll_event event{};
    event.events = source.awaitsWritable() ? EPOLLOUT : EPOLLIN;
    if (from == From::TurnsEnd) {
        event.events = EPOLLONESHOT;
    } else if (oneShot_.load(std::memory_order_relaxed)) {
        event.events |= EPOLLONESHOT;
    } else if (source.oneAtATime()) {
        event.events |= EPOLLET;
    }
    event.data.u64 = eventKey(source.key_, which == Which::Bell);
    if (epoll_ctl(epoll_.get(), operation, fd, &event) != 0) {
        ALOGE("can't watch descriptor %d: %s", fd, strerror(errno));
    }
}

// Watches those descriptors of the source again whose events were delivered.
void Pool::arm(Source& source) {
    if (std::exchange(source.fired_, false)) watch(source, Which::Fd, From::Now, EPOLL_CTL_MOD);
    if (std::exchange(source.bellFired_, false) && source.hasBell_)
        watch(source, Which::Bell, From::Now, EPOLL_CTL_MOD);
}

void Pool::add(const std::shared_ptr<Source>& source) {
    std::lock_guard<std::mutex> lock(mutex_);
    source->key_ = ++keys_;
    sources_[source->key_] = source;
    watch(*source, Which::Fd, From::Now, EPOLL_CTL_ADD);
}

void Pool::addBell(Source& source) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (sources_.count(source.key_) == 0) return;
    source.hasBell_ = true;
    source.bellFired_ = oneShot_;
    watch(source, Which::Bell, oneShot_ ? From::TurnsEnd : From::Now, EPOLL_CTL_ADD);
}

void Pool::remove(Source& source) {
    std::shared_ptr<Source> removed;  // destroyed after the mutex is released
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = sources_.find(source.key_);
    if (found == sources_.end()) return;
    epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, source.fd(), nullptr);
    if (source.hasBell_) epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, source.bell(), nullptr);
    removed = std::move(found->second);
    sources_.erase(found);
}

void Pool::resume(Source& source) {
    std::lock_guard<std::mutex> lock(mutex_);
    source.inTurn_ = false;
    if (sources_.count(source.key_) != 0) arm(source);
}

void Pool::endTurn(Source& source) {
    if (oneShot_.load(std::memory_order_relaxed)) return resume(source);
    // In this order: a concurrent shareWithLock() either finds the turn ended, or is noticed below.
    source.inTurn_ = false;
    if (!oneShot_) return;
    std::lock_guard<std::mutex> lock(mutex_);
    if (sources_.count(source.key_) != 0) arm(source);
}

void Pool::configure(size_t maxThreads, bool callerJoins) {
    if (maxThreads == 0 && callerJoins) details::logAlwaysFatal("A pool of no threads can't be joined.");
    std::lock_guard<std::mutex> lock(mutex_);
    if (started_ && maxThreads < maxThreads_)
        details::logAlwaysFatal("Binder threadpool cannot be shrunk after starting.");
    configured_ = true;
    maxThreads_ = maxThreads;
    callerJoins_ = callerJoins;
    if (maxThreads > 1) shareWithLock();
}

// Switches to one-shot events for several threads. The only thread so far may be in a source.
void Pool::shareWithLock() {
    if (oneShot_.exchange(true)) return;
    for (const auto& [key, source] : sources_) {
        const bool inTurn = source->inTurn_;
        const From from = inTurn ? From::TurnsEnd : From::Now;
        source->fired_ = source->bellFired_ = inTurn;
        watch(*source, Which::Fd, from, EPOLL_CTL_MOD);
        if (source->hasBell_) watch(*source, Which::Bell, from, EPOLL_CTL_MOD);
    }
}

void Pool::addThreadWithLock() {
    if (++threads_ > 1) shareWithLock();
}

bool Pool::started() {
    std::lock_guard<std::mutex> lock(mutex_);
    return started_ || callerJoins_;
}

// Returns how many threads the pool may start itself.
size_t Pool::spawnLimitWithLock() const {
    if (!configured_) return 1;
    return callerJoins_ ? maxThreads_ - 1 : maxThreads_;
}

void Pool::spawnWithLock() {
    ++spawned_;
    addThreadWithLock();
    SignalsBlocked blocked;
    std::thread([this] { serve(); }).detach();
}

void Pool::start() {
    std::lock_guard<std::mutex> lock(mutex_);
    if (started_) return;
    started_ = true;
    if (spawned_ < spawnLimitWithLock()) spawnWithLock();
}

void Pool::join() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!callerJoins_)
            details::logAlwaysFatal("joinRpcThreadpool needs configureRpcThreadpool(n, true) first.");
        started_ = true;
        addThreadWithLock();
    }
    serve();
}

void Pool::spawnIfAllBusy() {
    if (!oneShot_.load(std::memory_order_relaxed) || idle_.load() > 0) return;
    std::lock_guard<std::mutex> lock(mutex_);
    if (spawned_ < spawnLimitWithLock()) spawnWithLock();
}

void Pool::serve() {
    for (;;) {
        const bool several = oneShot_.load(std::memory_order_relaxed);
        if (several) ++idle_;
        const uint64_t key = waitReady(epoll_.get());
        if (several) --idle_;
        serveSource(key);
    }
}

bool Pool::serveReady() {
    epoll_event event{};
    if (epoll_wait(epoll_.get(), &event, 1, 0) != 1) return false;
    serveSource(event.data.u64);
    return true;
}

void Pool::serveSource(uint64_t key) {
    std::shared_ptr<Source> source;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = sources_.find(key / 2);
        if (found == sources_.end()) return;
        (isBell(key) ? found->second->bellFired_ : found->second->fired_) = true;
        // A thread is in it, for its other descriptor or since before shareWithLock().
        if (found->second->inTurn_) return;
        source = found->second;
        source->inTurn_ = true;
    }
    char rings[64];
    if (isBell(key)) (void)!read(source->bell(), rings, sizeof(rings));
    spawnIfAllBusy();
    DispatchGuard turn(*this, *source);
    source->onReadable(turn);
}

void DispatchGuard::removeSource() {
    ended_ = true;
    pool_.remove(source_);
}

void DispatchGuard::end() {
    if (ended_) return;
    ended_ = true;
    pool_.endTurn(source_);
}

}  // namespace android::hardware::transport
