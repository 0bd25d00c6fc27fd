// SPDX-License-Identifier: Apache-2.0
#include "bare_socket.h"

#include <errno.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/hidl/src/threads/spin.h"
#include "measure.h"

namespace hidlaudio::bench {
namespace {

void require(bool good, const char* what) {
    if (!good) die(std::string(what) + ": " + strerror(errno));
}

void sendAll(int socket, const std::vector<char>& bytes) {
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t sent = send(socket, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (sent <= 0) _exit(0);
        done += static_cast<size_t>(sent);
    }
}

/** Returns when bytes have arrived, or after as long as the HIDL runtime polls. */
void poll(int socket) {
    char byte = 0;
    const double end = nowMicroseconds() + android::hardware::transport::kSpinNanoseconds / 1e3;
    while (recv(socket, &byte, 1, MSG_PEEK | MSG_DONTWAIT) < 0 && errno == EAGAIN &&
           nowMicroseconds() < end) {
    }
}

[[noreturn]] void serve(int socket, size_t requestSize, const std::vector<char>& answer, size_t places,
                        Waiting waiting) {
    std::vector<char> requests(requestSize * places);
    char* request = requests.data();
    const int epoll = epoll_create1(0);
    epoll_event event{};
    event.events = EPOLLIN;
    epoll_ctl(epoll, EPOLL_CTL_ADD, socket, &event);
    size_t have = 0;
    for (;;) {
        if (waiting == Waiting::Polling) poll(socket);
        if (epoll_wait(epoll, &event, 1, -1) != 1) break;
        const ssize_t got = recv(socket, request + have, requestSize - have, 0);
        if (got <= 0) break;
        have += static_cast<size_t>(got);
        if (have < requestSize) continue;
        have = 0;
        request += requestSize;
        if (request == requests.data() + requests.size()) request = requests.data();
        sendAll(socket, answer);
    }
    _exit(0);
}

}  // namespace

BareSocket::BareSocket(size_t requestSize, size_t answerSize, int processor, size_t places, Waiting waiting)
    : waiting_(waiting), request_(requestSize, 'r'), answer_(answerSize, 'a') {
    int ends[2];
    require(socketpair(AF_UNIX, SOCK_STREAM, 0, ends) == 0, "socketpair");
    server_ = fork();
    require(server_ >= 0, "fork");
    if (server_ == 0) {
        close(ends[0]);
        pin(processor);
        serve(ends[1], requestSize, answer_, places, waiting);
    }
    close(ends[1]);
    socket_ = ends[0];
}

BareSocket::~BareSocket() {
    close(socket_);
    waitpid(server_, nullptr, 0);
}

void BareSocket::exchange() {
    sendAll(socket_, request_);
    size_t have = 0;
    while (have < answer_.size()) {
        if (waiting_ == Waiting::Polling) poll(socket_);
        const ssize_t got = recv(socket_, answer_.data() + have, answer_.size() - have, 0);
        require(got > 0, "recv");
        have += static_cast<size_t>(got);
    }
}

}  // namespace hidlaudio::bench
