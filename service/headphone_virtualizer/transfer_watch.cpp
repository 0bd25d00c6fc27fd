// SPDX-License-Identifier: Apache-2.0
#include "transfer_watch.h"

#include <sys/epoll.h>
#include <sys/timerfd.h>

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {
namespace {

constexpr itimerspec kLimit{{0, 0}, {20, 0}};

bool watchDescriptor(const TransferWatch& watch, int fd) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = fd;
    return epoll_ctl(watch.epoll.get(), EPOLL_CTL_ADD, fd, &event) == 0;
}

}  // namespace

const char* openTransferWatch(const char* stateFile, TransferWatch& watch) {
    // A failed epoll_create1() or timerfd_create() is not checked here: watchDescriptor() then fails.
    watch.epoll.reset(epoll_create1(EPOLL_CLOEXEC));
    watch.stateFile.reset(fopen(stateFile, "re"));
    if (watch.stateFile == nullptr) return "Proc file open failed!";
    if (!watchDescriptor(watch, fileno(watch.stateFile.get()))) return "regist FD failed!!(proc)";
    watch.timer.reset(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC));
    if (!watchDescriptor(watch, watch.timer.get())) return "regist FD failed!!(timer)";
    if (timerfd_settime(watch.timer.get(), 0, &kLimit, nullptr) != 0) return "start timer failed!!";
    return nullptr;
}

WatchEvent awaitEvent(const TransferWatch& watch) {
    epoll_event event{};
    if (epoll_wait(watch.epoll.get(), &event, 1, -1) != 1) return WatchEvent::None;
    if (event.data.fd == fileno(watch.stateFile.get())) return WatchEvent::StateChanged;
    return event.data.fd == watch.timer.get() ? WatchEvent::Timeout : WatchEvent::None;
}

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
