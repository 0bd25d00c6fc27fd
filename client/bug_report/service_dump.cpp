// SPDX-License-Identifier: Apache-2.0
#include "service_dump.h"

#include <android-base/stringprintf.h>
#include <android-base/unique_fd.h>
#include <android/hidl/base/1.0/IBase.h>
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <cutils/native_handle.h>
#include <errno.h>
#include <fcntl.h>
#include <hidl/ServiceManagement.h>
#include <poll.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <thread>

#include "client/invocation.h"

namespace hidlaudio::client {
namespace {

using android::sp;
using android::base::unique_fd;
using android::hardware::hidl_array;
using android::hardware::hidl_handle;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hidl::base::V1_0::IBase;
using Clock = std::chrono::steady_clock;

/** A request for a dump, shared with the thread that makes the call, which may never return. */
struct DumpRequest {
    ServiceName name;
    hidl_vec<hidl_string> options;
    bool wantsHashes = false;
    unique_fd output;  // write end of the pipe for debug()
    std::promise<ServiceDump> answer;
    unique_fd unanswered;  // write end of a pipe; closed after the reply
};

constexpr size_t kHashSize = 32;
using Hash = hidl_array<uint8_t, kHashSize>;

std::string asHex(const Hash& hash) {
    std::string digits;
    for (size_t i = 0; i < kHashSize; ++i) digits += android::base::StringPrintf("%02x", hash[i]);
    return digits;
}

/** Returns whether the call succeeded. If not, stores the error in `asked`. */
bool succeeded(const android::hardware::details::return_status& returned, ServiceDump& asked) {
    if (returned.isOk()) return true;
    const bool dead = returned.isDeadObject();
    asked.status = dead ? kNoService : kRefused;
    asked.error = dead ? "it ended during the call" : "the call failed: " + returned.description();
    return false;
}

void ask(DumpRequest& request, ServiceDump& asked) {
    Return<sp<IBase>> found =
        android::hardware::defaultServiceManager()->get(request.name.interface, request.name.instance);
    const sp<IBase> object = found.withDefault(nullptr);
    if (object == nullptr) {
        asked.status = kNoService;
        asked.error = "it is not registered";
        return;
    }
    const auto takeHashes = [&asked](const hidl_vec<Hash>& chain) {
        for (const Hash& hash : chain) asked.hashes.push_back(asHex(hash));
    };
    if (request.wantsHashes && !succeeded(object->getHashChain(takeHashes), asked)) return;
    native_handle_t* const native = native_handle_create(1, 0);
    if (native == nullptr) return;
    native->data[0] = request.output.get();
    succeeded(object->debug(hidl_handle(native), request.options), asked);
    native_handle_delete(native);
}

void askOnThread(const std::shared_ptr<DumpRequest>& request) {
    std::thread([request] {
        ServiceDump asked;
        ask(*request, asked);
        request->answer.set_value(std::move(asked));
        request->unanswered.reset();
    }).detach();
}

int millisecondsUntil(Clock::time_point end) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
    return static_cast<int>(std::max<int64_t>(left, 0));
}

/** Reads all available data; discards data beyond kMaxDumpSize. */
void drain(int fd, std::string& text) {
    char buffer[4096];
    for (;;) {
        const ssize_t size = read(fd, buffer, sizeof(buffer));
        if (size < 0 && errno == EINTR) continue;
        if (size <= 0) return;
        const size_t room = kMaxDumpSize - text.size();
        text.append(buffer, std::min(room, static_cast<size_t>(size)));
    }
}

/**
 * Reads `output` until the peer of `answered` is closed or `end` is reached. Does not wait for the end of
 * `output`, because a service may keep its descriptor open.
 */
void readUntilAnswered(int output, int answered, Clock::time_point end, std::string& text) {
    pollfd ready[] = {{output, POLLIN, 0}, {answered, POLLIN, 0}};
    while (Clock::now() < end && ready[1].revents == 0) {
        if (poll(ready, std::size(ready), millisecondsUntil(end)) < 0) ready[1].revents = 0;
        drain(output, text);
    }
}

ServiceDump requestDump(const std::shared_ptr<DumpRequest>& request, Clock::time_point end, double seconds) {
    unique_fd output, answered;
    if (!android::base::Pipe(&output, &request->output) || fcntl(output.get(), F_SETFL, O_NONBLOCK) != 0 ||
        !android::base::Pipe(&answered, &request->unanswered))
        return {kRefused, std::string("cannot create a pipe: ") + strerror(errno), "", {}};
    std::future<ServiceDump> answer = request->answer.get_future();
    askOnThread(request);
    std::string text;
    readUntilAnswered(output.get(), answered.get(), end, text);
    ServiceDump asked{kTimedOut, android::base::StringPrintf("no answer within %g s", seconds), "", {}};
    if (answer.wait_until(end) == std::future_status::ready) asked = answer.get();
    asked.text = std::move(text);
    return asked;
}

}  // namespace

nlohmann::ordered_json asJson(const ServiceDump& asked) {
    if (asked.status != kDone) return {{"error", asked.error}};
    if (asked.text.empty()) return nullptr;
    auto state = nlohmann::ordered_json::parse(asked.text, nullptr, false);
    return state.is_discarded() ? nlohmann::ordered_json(asked.text) : state;
}

std::vector<ServiceDump> requestDumps(const std::vector<ServiceName>& names,
                                      const std::vector<std::string>& options, bool hashes, double seconds) {
    const auto end = timeIn(seconds);
    std::vector<std::future<ServiceDump>> answers;
    answers.reserve(names.size());
    for (const ServiceName& name : names) {
        const auto request = std::make_shared<DumpRequest>();
        request->name = name;
        request->options = hidl_vec<hidl_string>(options.begin(), options.end());
        request->wantsHashes = hashes;
        answers.push_back(std::async(std::launch::async, requestDump, request, end, seconds));
    }
    std::vector<ServiceDump> states;
    states.reserve(answers.size());
    for (std::future<ServiceDump>& answer : answers) states.push_back(answer.get());
    return states;
}

}  // namespace hidlaudio::client
