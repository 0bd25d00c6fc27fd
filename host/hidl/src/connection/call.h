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
 * Calls `object` of the peer and waits for the reply; on this thread, calls that the
 * callee makes to this process in the meantime are served. Any thread.
 *
 * @param reply unused for oneway
 * @return as IBinder::transact
 */
status_t callRemote(PeerConnection& link, uint64_t object, uint32_t code, const Parcel& data, Parcel* reply,
                    bool oneway);

/**
 * Serves the kCall received in `data` and sends its reply.
 *
 * @param turn ended when the reply has left, perhaps while the method still works; null
 *             for a call that came while this thread waited for a reply
 */
void serveCall(const std::shared_ptr<PeerConnection>& link, Channel& channel, Parcel& data,
               DispatchGuard* turn);

/** Oneway calls of one object: whoever finds nobody serving serves all that come. */
struct OnewayQueue {
    struct Pending {
        std::shared_ptr<PeerConnection> link;
        IncomingMessage message;
    };

    std::mutex mutex;
    std::deque<Pending> pending GUARDED_BY(mutex);
    bool serving GUARDED_BY(mutex) = false;
    std::vector<std::shared_ptr<Source>> stopped GUARDED_BY(mutex);  // what filled the queue
};

enum class Enqueued { MustServe, Waits, Stops };

/**
 * Puts a received oneway call in its object's queue.
 *
 * @return MustServe: nobody serves the queue, the caller must. Stops: it is full, and
 *         `source` has to be left alone; it is resumed once the queue is shorter.
 */
Enqueued enqueueOneway(BHwBinder& target, const std::shared_ptr<PeerConnection>& link,
                       IncomingMessage&& message, const std::shared_ptr<Source>& source);
void serveOneways(const sp<BHwBinder>& target);

/** Process and user of the call that this thread serves; false outside of a call. */
bool caller(pid_t* pid, uid_t* uid);

}  // namespace android::hardware::transport
