// SPDX-License-Identifier: Apache-2.0
#include "back_end_transfer.h"

#include <errno.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>

namespace hidlaudio::host {
namespace {

constexpr uint64_t kSecond = 1000000000;
constexpr uint64_t kLargestPiece = 65536;
/** Keeps pieces small at a slow rate, so that the payload is read throughout the transfer. */
constexpr uint64_t kPiecesPerSecond = 20;

/** Returns how many bytes are transferred in `time` at `rate` bytes per second. */
uint64_t bytesIn(std::chrono::nanoseconds time, uint64_t rate) {
    const auto passed = static_cast<uint64_t>(time.count());
    return rate * (passed / kSecond) + rate * (passed % kSecond) / kSecond;
}

std::chrono::nanoseconds timeFor(uint64_t bytes, uint64_t rate) {
    return std::chrono::nanoseconds(bytes / rate * kSecond + (bytes % rate * kSecond + rate - 1) / rate);
}

/** Waits until `end` after the transfer's start, or until it is cancelled. Returns 0 or an errno. */
int waitUntil(const Transfer& transfer, std::chrono::nanoseconds end) {
    const auto left = end - elapsedOnClock(transfer.start);
    if (left.count() <= 0) return 0;
    itimerspec value{};
    value.it_value = toTimespec(left);
    if (setTimerOnClock(transfer.timer.get(), 0, &value, nullptr) != 0) return errno;
    // A stepped clock may have been advanced before the timer was armed.
    if (elapsedOnClock(transfer.start) >= end) return 0;
    pollfd events[] = {{transfer.timer.get(), POLLIN, 0}, {transfer.cancel.get(), POLLIN, 0}};
    return TEMP_FAILURE_RETRY(poll(events, 2, -1)) < 0 ? errno : 0;
}

int waitForCancel(const Transfer& transfer) {
    pollfd event{transfer.cancel.get(), POLLIN, 0};
    return TEMP_FAILURE_RETRY(poll(&event, 1, -1)) < 0 ? errno : ECANCELED;
}

/** Writes payload bytes to the incoming file. Unmapped memory gives EFAULT: the kernel reads the bytes. */
int moveBytes(const Transfer& transfer, uint64_t from, uint64_t to) {
    while (from < to) {
        const ssize_t moved =
            write(transfer.incoming.get(), transfer.payload + from, static_cast<size_t>(to - from));
        if (moved < 0 && errno != EINTR) return errno;
        if (moved > 0) from += static_cast<uint64_t>(moved);
    }
    return 0;
}

}  // namespace

int runTransfer(const Transfer& transfer) {
    const uint64_t piece = std::clamp<uint64_t>(transfer.rate / kPiecesPerSecond, 1, kLargestPiece);
    for (uint64_t moved = 0; moved < transfer.size;) {
        const uint64_t next = std::min(transfer.size, moved + piece);
        int error = waitUntil(transfer, timeFor(next, transfer.rate));
        if (error == 0 && transfer.cancelled) error = ECANCELED;
        const uint64_t due = bytesIn(elapsedOnClock(transfer.start), transfer.rate);
        const uint64_t end = std::min(next, std::max(due, moved));
        if (error == 0) error = moveBytes(transfer, moved, end);
        if (error != 0) return error;
        moved = end;
    }
    if (transfer.hangs) return waitForCancel(transfer);
    return transfer.cancelled ? ECANCELED : 0;
}

}  // namespace hidlaudio::host
