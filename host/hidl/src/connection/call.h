// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>
#include <hwbinder/Binder.h>
#include <hwbinder/Parcel.h>

#include <deque>
#include <memory>
#include <mutex>

#include "host/hidl/src/threads/pool.h"
#include "peer_connection.h"

namespace android::hardware::transport {

/**
 * Calls `object` of the peer and waits for the reply. Meanwhile, this thread serves calls that the
 * callee makes to this process. Any thread.
 *
 * @param reply unused for oneway
 * @return as IBinder::transact
 */
status_t callRemote(PeerConnection& link, uint64_t object, uint32_t code, const Parcel& data, Parcel* reply,
                    bool oneway);

/**
 * Serves the kCall received in `data` and sends its reply.
 *
 * @param turn ended when the reply has been sent, perhaps before the method returns; null for a
 *             call that arrived while this thread waited for a reply
 */
void serveCall(const std::shared_ptr<PeerConnection>& link, Channel& channel, Parcel& data,
               DispatchGuard* turn);

/** Oneway calls of one object. One thread at a time serves them, until the queue is empty. */
struct OnewayQueue {
    struct Pending {
        std::shared_ptr<PeerConnection> link;
        IncomingMessage message;
    };

    std::mutex mutex;
    std::deque<Pending> pending GUARDED_BY(mutex);
    bool serving GUARDED_BY(mutex) = false;
    std::vector<std::shared_ptr<Source>> stopped GUARDED_BY(mutex);  // not watched while the queue is full
};

enum class Enqueued { MustServe, Waits, Stops };

/**
 * Puts a received oneway call in its object's queue.
 *
 * @return MustServe if no thread serves the queue: the caller must call serveOneways(). Waits if a
 *         thread serves it. Stops if it is full: the caller must stop watching `source`, which is
 *         resumed once the queue is shorter.
 */
Enqueued enqueueOneway(BHwBinder& target, const std::shared_ptr<PeerConnection>& link,
                       IncomingMessage&& message, const std::shared_ptr<Source>& source);
/** Serves the queued calls of `target` until the queue is empty. */
void serveOneways(const sp<BHwBinder>& target);

/** Returns the link of the caller whose call this thread serves, or `nullptr` if it serves none. */
const PeerConnection* caller();

}  // namespace android::hardware::transport
