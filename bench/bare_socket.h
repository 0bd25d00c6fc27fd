// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <vector>

namespace hidlaudio::bench {

/**
 * The least that an exchange over a stream socket takes: a request of a fixed size,
 * an answer of a fixed size, the server waiting in epoll_wait.
 */
class BareSocket {
  public:
    /**
     * Starts the server process on `processor`. It receives requests into so many places
     * in turn: more than one for what keeps the bytes, which are not in a cache then.
     */
    BareSocket(size_t requestSize, size_t answerSize, int processor, size_t places = 1);
    ~BareSocket();
    BareSocket(const BareSocket&) = delete;
    BareSocket& operator=(const BareSocket&) = delete;

    /** One exchange. */
    void exchange();

  private:
    int socket_ = -1;
    pid_t server_ = -1;
    std::vector<char> request_;
    std::vector<char> answer_;
};

}  // namespace hidlaudio::bench
