// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "client_process.h"

namespace hidlaudio::host {

/** The clients of a running scenario. Not thread-safe. The destructor kills the client processes. */
class ScenarioClients {
  public:
    /** Receives the outcome of the call in line `line`. `timedOut` calls have ended with their client. */
    using Done = std::function<void(size_t line, const LineOutcome& outcome, bool timedOut)>;

    /** `files` is the folder for the output of the processes, and `done` is called by the functions below. */
    ScenarioClients(const TestTv& tv, std::string files, Done done)
        : tv_(tv), files_(std::move(files)), done_(std::move(done)) {}
    ~ScenarioClients();
    ScenarioClients(const ScenarioClients&) = delete;
    ScenarioClients& operator=(const ScenarioClients&) = delete;

    /**
     * Makes the call in line `line` after the earlier calls of the same client and those whose result it
     * uses. Unless it is in the background, waits for its answer. Returns an error message, or "".
     */
    std::string call(size_t line, const ScenarioLine& what);

    /** Kills the client's process. The next call of the client starts another one. */
    void kill(const std::string& client);

    /** Waits for all calls in the background. */
    void finish();

    /** Returns the calls to the callbacks of each client. */
    std::map<std::string, std::vector<std::string>> callbacks() const;

  private:
    struct Client {
        std::unique_ptr<ClientProcess> process;
        std::future<LineOutcome> running;    // valid during a call
        size_t line = 0;                     // of the running call
        ScenarioCall call{};                 // the running call
        Json results;                        // of the running call
        std::vector<std::string> callbacks;  // of killed processes
    };

    std::string resolve(Json& value);
    void finish(Client& client);

    const TestTv& tv_;
    const std::string files_;
    const Done done_;
    std::map<std::string, Client> clients_;
    std::map<std::string, Json> variables_;
};

}  // namespace hidlaudio::host
