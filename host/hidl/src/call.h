// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hwbinder/Binder.h>
#include <hwbinder/Parcel.h>

#include <deque>
#include <functional>
#include <memory>
#include <mutex>

#include "link.h"

namespace android::hardware::transport {

/**
 * Calls `object` of the peer and waits for the reply; on this thread, calls that the
 * callee makes to this process in the meantime are served. Any thread.
 *
 * @param reply unused for oneway
 * @return as IBinder::transact
 */
status_t callRemote(Link& link, uint64_t object, uint32_t code, const Parcel& data, Parcel* reply,
                    bool oneway);

/**
 * Serves a received kCall and sends its reply.
 *
 * @param replied called once when the reply has left, perhaps while the method still works
 */
void serveCall(const std::shared_ptr<Link>& link, Channel& channel, IncomingMessage&& message,
               const std::function<void()>& replied);

/** Oneway calls of one object: whoever finds nobody serving serves all that come. */
struct OnewayQueue {
    struct Pending {
        std::shared_ptr<Link> link;
        IncomingMessage message;
    };

    std::mutex mutex;
    std::deque<Pending> pending;
    bool serving = false;
};

/** Puts a received oneway call in its object's queue; true where the caller must serve the queue. */
bool enqueueOneway(BHwBinder& target, const std::shared_ptr<Link>& link, IncomingMessage&& message);
void serveOneways(const sp<BHwBinder>& target);

/** Process and user of the call that this thread serves; false outside of a call. */
bool caller(pid_t* pid, uid_t* uid);

}  // namespace android::hardware::transport
