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

/** Something whose descriptor the pool watches. */
class Source : public std::enable_shared_from_this<Source> {
  public:
    virtual ~Source() = default;
    virtual int fd() const = 0;
    /** What the source waits for is there: takes one message, so that the others get their turn. */
    virtual void onReadable(DispatchGuard& turn) = 0;
    /**
     * Whether it is enough to be told once when something comes, because the peer
     * sends nothing more before it is answered. Spares the kernel a look a call.
     */
    virtual bool oneAtATime() const { return false; }
    /** What is waited for: something to read, or else room to write. */
    virtual bool awaitsRoom() const { return false; }

  private:
    friend class Pool;
    friend class DispatchGuard;
    uint64_t key_ = 0;
    std::atomic<bool> inTurn_{false};  // becomes true with the pool's mutex held
};

/**
 * The threads that serve this process, and what they watch. What becomes ready first
 * is served first, whoever sent it.
 */
class Pool {
  public:
    Pool();

    void add(const std::shared_ptr<Source>& source);
    /** The source is not called again, except by a thread that is in it already. */
    void remove(Source& source);
    /** Watches the source again, whose turn was told to forget it. */
    void resume(Source& source);

    /** As configureRpcThreadpool. */
    void configure(size_t maxThreads, bool callerJoins);
    /** As ProcessState::startThreadPool. */
    void start();
    /** As joinRpcThreadpool. */
    void join();
    /** Serves one source that is ready on the calling thread; false, at once, where none is. */
    bool serveReady();
    /** Whether any thread serves, or will. */
    bool started();

  private:
    friend class DispatchGuard;

    [[noreturn]] void serve();
    void serveSource(uint64_t key);
    uint64_t nextKey();
    void spawnWithLock() REQUIRES(mutex_);
    void spawnIfAllBusy();
    size_t spawnLimitWithLock() const REQUIRES(mutex_);
    void addThreadWithLock() REQUIRES(mutex_);
    void shareWithLock() REQUIRES(mutex_);
    void endTurn(Source& source);
    void arm(const Source& source, int operation);

    const base::unique_fd epoll_;
    std::mutex mutex_;
    std::unordered_map<uint64_t, std::shared_ptr<Source>> sources_ GUARDED_BY(mutex_);
    uint64_t keys_ GUARDED_BY(mutex_) = 0;
    size_t maxThreads_ GUARDED_BY(mutex_) = 0;  // as configured; 0 and not configured: start() spawns one
    size_t threads_ GUARDED_BY(mutex_) = 0;
    size_t spawned_ GUARDED_BY(mutex_) = 0;  // of threads_, those that no caller has joined
    bool configured_ GUARDED_BY(mutex_) = false;
    bool callerJoins_ GUARDED_BY(mutex_) = false;
    bool started_ GUARDED_BY(mutex_) = false;
    std::atomic<size_t> idle_{0};
    // With several threads, a source is watched by none while one is in it. Never false again.
    std::atomic<bool> oneShot_{false};
};

/** One thread's turn with a source: until it ends, no other thread is given the source. */
class DispatchGuard {
  public:
    DispatchGuard(Pool& pool, Source& source) : pool_(pool), source_(source) {}
    ~DispatchGuard() { end(); }
    DispatchGuard(const DispatchGuard&) = delete;
    DispatchGuard& operator=(const DispatchGuard&) = delete;

    /** Lets other threads have the source's next message. */
    void end();
    /** The source is gone, or has to wait: nobody shall watch it, unless it is resumed. */
    void forget() { ended_ = true; }

  private:
    Pool& pool_;
    Source& source_;
    bool ended_ = false;
};

}  // namespace android::hardware::transport
