// SPDX-License-Identifier: Apache-2.0
#include "process_watch.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "host/tv_files/regular_file.h"

namespace hidlaudio::host {
namespace {

bool hasEnded(int process) {
    pollfd ended{process, POLLIN, 0};
    return process < 0 || poll(&ended, 1, 0) == 1;
}

}  // namespace

void ProcessWatch::see(const RecordLine& line) {
    if (line.event != RecordLine::Event::Start && line.event != RecordLine::Event::Process) return;
    const int process = static_cast<int>(syscall(SYS_pidfd_open, line.process, 0));
    if (process >= 0 || errno == ESRCH) running_[line.process].reset(process);
}

void ProcessWatch::check() {
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
