// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>
#include <sys/types.h>

#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "host/python/native/channel.h"
#include "host/scenario/harness/test_tv.h"
#include "scenario.h"

namespace hidlaudio::host {

/** Exit status and output of one scenario line. */
struct LineOutcome {
    ChildStatus status = 0;
    std::string output;
    std::string errors;
};

/**
 * A process that makes the HIDL calls of one client of a scenario. Its callbacks answer at once with zeros.
 *
 * Only one thread at a time may use call(). The other functions may be called from any thread. Do not destroy
 * the object during call(); kill() ends a call that does not return.
 */
class ClientProcess {
  public:
    ClientProcess() = default;
    ~ClientProcess();
    ClientProcess(const ClientProcess&) = delete;
    ClientProcess& operator=(const ClientProcess&) = delete;

    /** Starts the process; its output goes to the file `output`. Returns an error message, or "". */
    std::string start(const TestTv& tv, const std::string& output);

    /**
     * Makes a call with `arguments` in place of those of `call`, and waits for its answer. The output is the
     * JSON object of the results, which is also stored in `results`.
     */
    LineOutcome call(const ScenarioCall& call, const Json& arguments, Json& results);

    void kill();

    /** Returns the calls to the client's callbacks: "OBJECT.METHOD ARGUMENTS", in their order. */
    std::vector<std::string> callbacks() const;

  private:
    bool openChannel();
    void acceptChannels();
    void serveCallbacks(python::Channel& channel);
    bool exchange(const Json& request, Json& reply);
    Json answerTo(const Json& message);
    Json withObjects(const Json& value);

    pid_t pid_ = 0;
    android::base::unique_fd control_;
    std::unique_ptr<python::Channel> channel_;
    Json dropped_ = Json::array();  // number of the service of the last call
    std::thread acceptor_;
    std::list<std::thread> callbackThreads_;  // of acceptor_, and of the destructor after its end
    mutable std::mutex mutex_;
    std::map<std::string, uint64_t> numbers_;  // the numbers of the client's own objects, by name
    std::vector<std::string> callbacks_;
};

}  // namespace hidlaudio::host
