// SPDX-License-Identifier: Apache-2.0
#include "transfer_watch.h"

#include <sys/epoll.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {
namespace {

constexpr itimerspec kLimit{{0, 0}, {20, 0}};

bool watchDescriptor(int epoll, int fd) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = fd;
    return epoll_ctl(epoll, EPOLL_CTL_ADD, fd, &event) == 0;
}

}  // namespace

TransferWatch::~TransferWatch() {
    if (epoll >= 0) close(epoll);
    if (timer >= 0) close(timer);
    if (stateFile != nullptr) fclose(stateFile);
}

const char* openTransferWatch(const char* stateFile, TransferWatch& watch) {
    // A failed epoll_create1() or timerfd_create() is not checked here: watchDescriptor() then fails.
    watch.epoll = epoll_create1(EPOLL_CLOEXEC);
    watch.stateFile = fopen(stateFile, "re");
    if (watch.stateFile == nullptr) return "Proc file open failed!";
    if (!watchDescriptor(watch.epoll, fileno(watch.stateFile))) return "regist FD failed!!(proc)";
    watch.timer = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
    if (!watchDescriptor(watch.epoll, watch.timer)) return "regist FD failed!!(timer)";
    if (timerfd_settime(watch.timer, 0, &kLimit, nullptr) != 0) return "start timer failed!!";
    return nullptr;
}

WatchEvent awaitEvent(const TransferWatch& watch) {
    epoll_event event{};
    if (epoll_wait(watch.epoll, &event, 1, -1) != 1) return WatchEvent::None;
    if (event.data.fd == fileno(watch.stateFile)) return WatchEvent::StateChanged;
    return event.data.fd == watch.timer ? WatchEvent::Timeout : WatchEvent::None;
}

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
