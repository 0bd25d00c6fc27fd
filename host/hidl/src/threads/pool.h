// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>
#include <android-base/unique_fd.h>
#include <stddef.h>
#include <stdint.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace android::hardware::transport {

class DispatchGuard;

/** A descriptor that the pool watches, and its handler. */
class Source : public std::enable_shared_from_this<Source> {
  public:
    virtual ~Source() = default;
    virtual int fd() const = 0;
    /** Called when the descriptor is ready. Handles one message, so that other sources are not delayed. */
    virtual void onReadable(DispatchGuard& turn) = 0;
    /** Returns a second descriptor that the pool watches after addBell() and empties; or -1. */
    virtual int bell() const { return -1; }
    /**
     * Returns whether one event per message suffices, because the peer waits for the answer before it
     * sends again. This saves the kernel a check per call.
     */
    virtual bool oneAtATime() const { return false; }
    /** Returns true to wait until the descriptor is writable, false to wait until it is readable. */
    virtual bool awaitsWritable() const { return false; }

  private:
    friend class Pool;
    friend class DispatchGuard;
    uint64_t key_ = 0;
    // Guarded by the pool's mutex:
    bool hasBell_ = false;             // the pool watches bell()
    bool fired_ = false;               // fd() must be watched again when the turn ends
    bool bellFired_ = false;           // bell() must be watched again then
    std::atomic<bool> inTurn_{false};  // set to true with the pool's mutex held
};

/** The threads that serve this process, and their sources. Serves sources in the order of their events. */
class Pool {
  public:
    Pool();

    void add(const std::shared_ptr<Source>& source);
    /** Stops watching the source. A thread that is already in onReadable() continues. */
    void remove(Source& source);
    /** Watches the source's bell too. Called while a thread is in the source. */
    void addBell(Source& source);
    /** Watches the source again after DispatchGuard::forget(). */
    void resume(Source& source);

    /** Implements configureRpcThreadpool(). */
    void configure(size_t maxThreads, bool callerJoins);
    /** Implements ProcessState::startThreadPool(). */
    void start();
    /** Implements joinRpcThreadpool(). */
    void join();
    /** Serves one ready source on the calling thread. Returns false at once if none is ready. */
    bool serveReady();
    /** Returns whether the pool has started or a thread will join it. */
    bool started();

  private:
    friend class DispatchGuard;

    enum class Which { Fd, Bell };
    enum class From { Now, TurnsEnd };  // when events are delivered; after TurnsEnd, arm() must be called

    [[noreturn]] void serve();
    void serveSource(uint64_t key);
    void spawnWithLock() REQUIRES(mutex_);
    void spawnIfAllBusy();
    size_t spawnLimitWithLock() const REQUIRES(mutex_);
    void addThreadWithLock() REQUIRES(mutex_);
    void shareWithLock() REQUIRES(mutex_);
    void endTurn(Source& source);
    void arm(Source& source) REQUIRES(mutex_);
    void watch(const Source& source, Which which, From from, int operation);

    const base::unique_fd epoll_;
    std::mutex mutex_;
    std::unordered_map<uint64_t, std::shared_ptr<Source>> sources_ GUARDED_BY(mutex_);
    uint64_t keys_ GUARDED_BY(mutex_) = 0;
    size_t maxThreads_ GUARDED_BY(mutex_) = 0;  // as configured; if not configured, start() spawns one thread
    size_t threads_ GUARDED_BY(mutex_) = 0;
    size_t spawned_ GUARDED_BY(mutex_) = 0;  // threads that the pool started, as opposed to callers of join()
    bool configured_ GUARDED_BY(mutex_) = false;
    bool callerJoins_ GUARDED_BY(mutex_) = false;
    bool started_ GUARDED_BY(mutex_) = false;
    std::atomic<size_t> idle_{0};
    // True once the pool has several threads. A source is then not watched while a thread is in it.
    std::atomic<bool> oneShot_{false};
};

/** Exclusive access of one thread to a source. Until it ends, no other thread serves the source. */
class DispatchGuard {
  public:
    DispatchGuard(Pool& pool, Source& source) : pool_(pool), source_(source) {}
    ~DispatchGuard() { end(); }
    DispatchGuard(const DispatchGuard&) = delete;
    DispatchGuard& operator=(const DispatchGuard&) = delete;

    /** Lets other threads serve the next message of the source. */
    void end();
    /** Leaves the source unwatched until Pool::resume(). */
    void forget() { ended_ = true; }
    /** Removes the source from the pool. */
    void removeSource();

  private:
    Pool& pool_;
    Source& source_;
    bool ended_ = false;
};

}  // namespace android::hardware::transport
