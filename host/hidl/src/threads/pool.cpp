// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "HidlTransport"

#include "pool.h"

#include <errno.h>
#include <hidl/HidlInternal.h>
#include <log/log.h>
#include <signal.h>
#include <string.h>
#include <sys/epoll.h>

#include <thread>

#include "spin.h"

namespace android::hardware::transport {
namespace {

// A pool thread takes no signals: they are the program's.
class SignalsBlocked {
  public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, &mBefore);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &mBefore, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

  private:
    sigset_t mBefore;
};

// The key of the source that became ready first; looks for a while before it sleeps.
uint64_t waitReady(int epoll) {
    // One at a time: the kernel then puts what is still ready behind what waited.
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

}  // namespace

Pool::Pool() : mEpoll(epoll_create1(EPOLL_CLOEXEC)) {
    if (mEpoll < 0) details::logAlwaysFatal("No epoll instance for the pool.");
}

void Pool::arm(const Source& source, int operation) {
    epoll_event event{};
    event.events = source.awaitsRoom() ? EPOLLOUT : EPOLLIN;
    if (source.mInTurn) {
        event.events = EPOLLONESHOT;  // the turn's end watches it again
    } else if (mOneShot.load(std::memory_order_relaxed)) {
        event.events |= EPOLLONESHOT;
    } else if (source.oneAtATime()) {
        event.events |= EPOLLET;
    }
    event.data.u64 = source.mKey;
    if (epoll_ctl(mEpoll.get(), operation, source.fd(), &event) != 0) {
        ALOGE("can't watch descriptor %d: %s", source.fd(), strerror(errno));
    }
}

void Pool::add(const std::shared_ptr<Source>& source) {
    std::lock_guard<std::mutex> lock(mMutex);
    source->mKey = ++mKeys;
    mSources[source->mKey] = source;
    arm(*source, EPOLL_CTL_ADD);
}

void Pool::remove(Source& source) {
    std::shared_ptr<Source> removed;  // goes after the mutex is free
    std::lock_guard<std::mutex> lock(mMutex);
    auto found = mSources.find(source.mKey);
    if (found == mSources.end()) return;
    epoll_ctl(mEpoll.get(), EPOLL_CTL_DEL, source.fd(), nullptr);
    removed = std::move(found->second);
    mSources.erase(found);
}

void Pool::resume(Source& source) {
    std::lock_guard<std::mutex> lock(mMutex);
    source.mInTurn = false;
    if (mSources.count(source.mKey) != 0) arm(source, EPOLL_CTL_MOD);
}

void Pool::endTurn(Source& source) {
    if (mOneShot.load(std::memory_order_relaxed)) return resume(source);
    // In this order: who shares the pool meanwhile finds the turn ended, or is found here.
    source.mInTurn = false;
    if (!mOneShot) return;
    std::lock_guard<std::mutex> lock(mMutex);
    if (mSources.count(source.mKey) != 0) arm(source, EPOLL_CTL_MOD);
}

void Pool::configure(size_t maxThreads, bool callerJoins) {
    if (maxThreads == 0 && callerJoins) details::logAlwaysFatal("A pool of no threads can't be joined.");
    std::lock_guard<std::mutex> lock(mMutex);
    if (mStarted && maxThreads < mMaxThreads)
        details::logAlwaysFatal("Binder threadpool cannot be shrunk after starting.");
    mConfigured = true;
    mMaxThreads = maxThreads;
    mCallerJoins = callerJoins;
    if (maxThreads > 1) shareWithLock();
}

// Several threads take turns from now on, perhaps while the only one so far is in a source.
void Pool::shareWithLock() {
    if (mOneShot.exchange(true)) return;
    for (const auto& [key, source] : mSources) arm(*source, EPOLL_CTL_MOD);
}

void Pool::addThreadWithLock() {
    if (++mThreads > 1) shareWithLock();
}

bool Pool::started() {
    std::lock_guard<std::mutex> lock(mMutex);
    return mStarted || mCallerJoins;
}

// How many threads the pool may have beside the one that the caller gives.
size_t Pool::spawnLimitWithLock() const {
    if (!mConfigured) return 1;
    return mCallerJoins ? mMaxThreads - 1 : mMaxThreads;
}

void Pool::spawnWithLock() {
    ++mSpawned;
    addThreadWithLock();
    SignalsBlocked blocked;
    std::thread([this] { serve(); }).detach();
}

void Pool::start() {
    std::lock_guard<std::mutex> lock(mMutex);
    if (mStarted) return;
    mStarted = true;
    if (mSpawned < spawnLimitWithLock()) spawnWithLock();
}

void Pool::join() {
    {
        std::lock_guard<std::mutex> lock(mMutex);
        if (!mCallerJoins)
            details::logAlwaysFatal("joinRpcThreadpool needs configureRpcThreadpool(n, true) first.");
        mStarted = true;
        addThreadWithLock();
    }
    serve();
}

void Pool::spawnIfAllBusy() {
    if (!mOneShot.load(std::memory_order_relaxed) || mIdle.load() > 0) return;
    std::lock_guard<std::mutex> lock(mMutex);
    if (mSpawned < spawnLimitWithLock()) spawnWithLock();
}

void Pool::serve() {
    for (;;) {
        const bool several = mOneShot.load(std::memory_order_relaxed);
        if (several) ++mIdle;
        const uint64_t key = waitReady(mEpoll.get());
        if (several) --mIdle;
        serveSource(key);
    }
}

bool Pool::serveReady() {
    epoll_event event{};
    if (epoll_wait(mEpoll.get(), &event, 1, 0) != 1) return false;
    serveSource(event.data.u64);
    return true;
}

void Pool::serveSource(uint64_t key) {
    std::shared_ptr<Source> source;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        auto found = mSources.find(key);
        // Where a thread is in it, this news is from before the pool was shared.
        if (found == mSources.end() || found->second->mInTurn) return;
        source = found->second;
        source->mInTurn = true;
    }
    spawnIfAllBusy();
    Turn turn(*this, *source);
    source->ready(turn);
}

void Turn::end() {
    if (mEnded) return;
    mEnded = true;
    mPool.endTurn(mSource);
}

}  // namespace android::hardware::transport
