// SPDX-License-Identifier: Apache-2.0
#include "worker_pool.h"

#include <android-base/file.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <vector>

#include "host/program/json.h"

namespace hidlaudio::host {
namespace {

struct Worker {
    size_t index;
    pid_t pid;
    int pipe;  // read end; at end of file when the worker has ended
    std::string text;
};

void killOwnGroup(int) {
    kill(0, SIGKILL);
}

/** Makes this process the leader of a process group, which ends on SIGTERM or with the parent. */
void becomeWorker(pid_t parent) {
    setpgid(0, 0);
    signal(SIGTERM, killOwnGroup);
    sigset_t term;
    sigemptyset(&term);
    sigaddset(&term, SIGTERM);
    sigprocmask(SIG_UNBLOCK, &term, nullptr);
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) _exit(1);
}

/**
 * Starts a worker, which runs an item and writes its result to the pipe. If that fails, the returned worker
 * has pid -1 and counts as crashed.
 */
Worker startWorker(const PoolWork& pool, size_t index) {
    int ends[2] = {-1, -1};
    fflush(nullptr);
    const pid_t parent = getpid();
    const pid_t pid = pipe(ends) == 0 ? fork() : -1;
    if (pid == 0) {
        becomeWorker(parent);
        close(ends[0]);
        _exit(android::base::WriteStringToFd(jsonText(pool.run(index)), ends[1]) ? 0 : 1);
    }
    if (ends[1] >= 0) close(ends[1]);
    if (pid > 0) setpgid(pid, pid);
    return {index, pid, ends[0], ""};
}

/** Kills the remaining processes of a worker's group and reaps the worker. */
void reap(const Worker& worker) {
    if (worker.pid > 0) kill(-worker.pid, SIGKILL);
    if (worker.pid > 0) waitpid(worker.pid, nullptr, 0);
    if (worker.pipe >= 0) close(worker.pipe);
}

/** Reads a piece of the worker's output. At its end, reaps the worker and passes on the result. */
bool hasEnded(const PoolWork& pool, Worker& worker) {
    char piece[65536];
    const ssize_t count = worker.pipe >= 0 ? read(worker.pipe, piece, sizeof(piece)) : 0;
    if (count > 0) {
        worker.text.append(piece, static_cast<size_t>(count));
        return false;
    }
    reap(worker);
    const nlohmann::json result = nlohmann::json::parse(worker.text, nullptr, false);
    pool.done(worker.index, result.is_discarded() ? nullptr : result);
    return true;
}

/** Waits up to 50 ms for output of the workers, and removes those that have ended. */
void pollWorkers(const PoolWork& pool, std::vector<Worker>& workers) {
    std::vector<pollfd> pipes;
    pipes.reserve(workers.size());
    for (const Worker& worker : workers) pipes.push_back({worker.pipe, POLLIN, 0});
    poll(pipes.data(), pipes.size(), 50);
    for (size_t i = workers.size(); i-- > 0;) {
        const bool isReadable = workers[i].pipe < 0 || pipes[i].revents != 0;
        if (isReadable && hasEnded(pool, workers[i]))
            workers.erase(workers.begin() + static_cast<ptrdiff_t>(i));
    }
}

}  // namespace

bool runAll(const PoolWork& pool, const Interrupt& interrupt) {
    std::vector<Worker> workers;
    size_t next = 0;
    while (next < pool.count || !workers.empty()) {
        while (next < pool.count && workers.size() < pool.jobs) workers.push_back(startWorker(pool, next++));
        pollWorkers(pool, workers);
        if (!interrupt.cameWithin(0)) continue;
        for (const Worker& worker : workers) reap(worker);
        return false;
    }
    return true;
}

}  // namespace hidlaudio::host
