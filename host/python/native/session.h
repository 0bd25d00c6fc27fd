// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hidl/HidlSupport.h>

#include <map>
#include <mutex>
#include <string>

#include "channel.h"
#include "object_table.h"

namespace hidlaudio::python {

/**
 * The client process of one Python `Client`. Each Python thread that makes calls has a channel and a thread
 * of this process, which makes its calls. If the runtime makes a callback on that thread, the callback goes
 * to the Python thread that waits for the call. A callback or death notice on a thread of the runtime's pool
 * goes to a Python thread of its own: this process creates the channel and passes its end to Python.
 *
 * `control` is a SOCK_SEQPACKET socket. Each message on it, in either direction, passes a new channel. The
 * process ends when its other end is closed.
 */
class Session : public hidl_json::RelayHandler {
  public:
    explicit Session(int control) : control_(control), table_(*this) {}

    /** Accepts channels. Returns when Python has closed the other end of `control`. */
    void run();

    hidl_json::Objects& objects() override { return table_; }
    Json onCall(uint64_t relay, const hidl_json::Method& method, const Json& arguments) override;

    /** Notifies Python that the object of the link has died. */
    void onDeath(uint64_t link);

  private:
    /** An object that is linked to death, and the recipient, which the runtime holds weakly. */
    struct Link {
        android::sp<hidl_json::IBase> object;
        android::sp<android::hardware::hidl_death_recipient> recipient;
    };

    /** Makes the requests of one Python thread until it closes the channel. */
    void serveThread(int fd);

    /** Sends a message to the Python thread of this thread, and serves its requests until its answer. */
    Json exchange(const Json& message);

    /** Executes a request. Returns the reply. */
    Json serve(const Json& request);
    Json findService(const Json& request);
    Json call(const KnownObject& target, const Json& request);
    Json cast(const KnownObject& target, const Json& request);
    Json link(const KnownObject& target, uint64_t number);
    Json unlink(const Json& request);

    /** Removes a link and returns it, or an empty one if it does not exist. */
    Link takeLink(uint64_t number);

    Json registerService(const Json& request);

    const int control_;
    ObjectTable table_;
    std::mutex mutex_;
    std::map<uint64_t, Link> links_;
};

}  // namespace hidlaudio::python
