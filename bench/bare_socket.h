// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <vector>

namespace hidlaudio::bench {

/**
 * Baseline: an exchange over a stream socket. Request and reply have fixed sizes; the server waits in
 * epoll_wait().
 */
class BareSocket {
  public:
    /**
     * Starts the server process.
     *
     * @param processor the processor on which the server runs; -1: any
     * @param places    number of receive buffers, used in turn. Use more than one to compare with a service
     *                  that stores the bytes: they are then not in a cache
     */
    BareSocket(size_t requestSize, size_t answerSize, int processor, size_t places = 1);
    ~BareSocket();
    BareSocket(const BareSocket&) = delete;
    BareSocket& operator=(const BareSocket&) = delete;

    /** Sends a request and receives the reply. */
    void exchange();

  private:
    int socket_ = -1;
    pid_t server_ = -1;
    std::vector<char> request_;
    std::vector<char> answer_;
};

}  // namespace hidlaudio::bench
