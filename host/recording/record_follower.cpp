// SPDX-License-Identifier: Apache-2.0
#include "record_follower.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stdio.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "host/program/standard_streams.h"
#include "host/tv_files/regular_file.h"

namespace hidlaudio::host {
namespace {

using Event = RecordLine::Event;

bool hasEnded(int process) {
    pollfd ended{process, POLLIN, 0};
    return process < 0 || poll(&ended, 1, 0) == 1;
}

}  // namespace

bool RecordFollower::follow() {
    for (const std::string& text : tail_.takeLines()) {
        if (tasks_.prints) printf("%s\n", text.c_str());
        RecordLine line;
        if (!parseRecordLine(text, line).empty()) continue;
        if (line.event == Event::Call) ++calls_;
        if (line.event == Event::Note) note_ = line.text;
        const bool hasProcess = line.event == Event::Start || line.event == Event::Process;
        if (tasks_.watches && hasProcess) watchProcess(line.process);
    }
    addExits();
    return !tasks_.prints || (flushOutput() && isOutputRead());
}

void RecordFollower::watchProcess(pid_t process) {
    const int fd = static_cast<int>(syscall(SYS_pidfd_open, process, 0));
    if (fd >= 0 || errno == ESRCH) running_[process].reset(fd);
}

/** Adds the lines of the processes that have ended since the last call. */
void RecordFollower::addExits() {
    std::string lines;
    for (auto one = running_.begin(); one != running_.end();) {
        const bool ended = hasEnded(one->second.get());
        if (ended) lines += exitLine(one->first);
        one = ended ? running_.erase(one) : std::next(one);
    }
    if (lines.empty()) return;
    const android::base::unique_fd file(openRegularFile(record_, O_WRONLY | O_APPEND));
    if (file.get() >= 0) (void)!write(file.get(), lines.data(), lines.size());
}

}  // namespace hidlaudio::host
