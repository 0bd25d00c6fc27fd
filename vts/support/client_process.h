// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace tovi_audio_vts {

/** Argument of this program that makes it a client process: --client=ROLE INSTANCE. */
constexpr char kClientArgument[] = "--client=";

/**
 * Another client of the services, a process of its own. Its output lines are events:
 *
 *   hdmi     registers an HDMI callback: "ready", then "changed NAME..." per callback
 *   buffer   allocates an HRTF buffer of two bytes and appends one: "ready HANDLE"
 *   upload   starts a long HRTF upload: "ready HANDLE", then "result N"
 */
class ClientProcess {
  public:
    /** Starts the process and waits until it is ready. */
    ClientProcess(const std::string& role, const std::string& instance);
    ~ClientProcess();
    ClientProcess(const ClientProcess&) = delete;
    ClientProcess& operator=(const ClientProcess&) = delete;

    /** Returns the next line, or `std::nullopt` if the process ends or prints none in time. */
    std::optional<std::string> nextLine();

    /** Returns the number that the process printed when it was ready, or 0. */
    int handle() const { return handle_; }

    /** Kills the process and waits for its end. */
    void kill();

  private:
    pid_t pid_ = -1;
    int output_ = -1;
    int handle_ = 0;
    std::string read_;
};

/** Runs a client process. Never returns. */
[[noreturn]] void runClient(const std::string& role, const std::string& instance);

}  // namespace tovi_audio_vts
