// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <vector>

namespace hidlaudio::bench {

/**
 * How both ends of a socket wait for bytes. The time to wake a sleeping end on another processor differs
 * between machines by a factor of ten. Polling ends look for bytes before they sleep, for as long as those
 * of the HIDL runtime do.
 */
enum class Waiting { Sleeping, Polling };

/** Baseline: an exchange over a stream socket. Request and reply have fixed sizes. */
class BareSocket {
  public:
    /**
     * Starts the server process.
     *
     * @param processor the processor on which the server runs; -1: any
     * @param places    number of receive buffers, used in turn. Use more than one to compare with a service
     *                  that stores the bytes: they are then not in a cache
     */
    BareSocket(size_t requestSize, size_t answerSize, int processor, size_t places = 1,
               Waiting waiting = Waiting::Sleeping);
    ~BareSocket();
    BareSocket(const BareSocket&) = delete;
    BareSocket& operator=(const BareSocket&) = delete;

    /** Sends a request and receives the reply. */
    void exchange();

  private:
    Waiting waiting_;
    int socket_ = -1;
    pid_t server_ = -1;
    std::vector<char> request_;
    std::vector<char> answer_;
};

}  // namespace hidlaudio::bench
