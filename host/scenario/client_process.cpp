// SPDX-License-Identifier: Apache-2.0
#include "client_process.h"

#include <signal.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include "client/exit_status.h"
#include "host/program/hex.h"
#include "host/python/native/passed_descriptor.h"
#include "host/tv_control/processes/programs.h"

namespace hidlaudio::host {
namespace {

using python::Channel;

constexpr char kClientProgram[] = "hidl_client";

/** Returns the value with each vector of bytes as {"hex": DIGITS}, as in scenarios and records. */
Json readable(const Json& value) {
    if (value.is_binary()) return {{"hex", toHex({value.get_binary().begin(), value.get_binary().end()})}};
    Json copy = value;
    if (copy.is_structured()) {
        for (Json& member : copy) member = readable(member);
    }
    return copy;
}

std::string textOf(const Json& value) {
    return jsonText(readable(value));
}

LineOutcome outcomeOf(const Json& reply) {
    if (reply.contains("value")) return {client::kDone, textOf(reply["value"]) + "\n", ""};
    const std::string error = reply.value("error", "failed");
    const std::string text = error + ": " + reply.value("text", "") + "\n";
    if (error == "dead") return {client::kNoService, "", text};
    return {error == "invalid" ? client::kWrongUsage : client::kRefused, "", text};
}

const LineOutcome kEnded{client::kRefused, "", "the client process has ended\n"};

}  // namespace

ClientProcess::~ClientProcess() {
    kill();
    if (acceptor_.joinable()) acceptor_.join();
    for (std::thread& thread : callbackThreads_) thread.join();
    if (pid_ > 0) statusWithin(pid_, std::chrono::seconds(10));
}

std::string ClientProcess::start(const TestTv& tv, const std::string& output) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) return strerror(errno);
    control_.reset(ends[0]);
    const android::base::unique_fd other(ends[1]);
    const std::string program = privateFileOf(kClientProgram);
    const int error = startChild(
        {{program, std::to_string(STDIN_FILENO)}, {}, output, output, tv.folder, other.get()}, pid_);
    if (error != 0) pid_ = 0;
    if (error != 0) return program + ": " + strerror(error);
    if (!openChannel()) return program + ": " + strerror(errno);
    acceptor_ = std::thread([this] { acceptChannels(); });
    return "";
}

bool ClientProcess::openChannel() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return false;
    channel_ = std::make_unique<Channel>(ends[0]);
    const android::base::unique_fd other(ends[1]);
    return python::passDescriptor(control_.get(), other.get());
}

void ClientProcess::acceptChannels() {
    for (int fd = python::receiveDescriptor(control_.get()); fd >= 0;
         fd = python::receiveDescriptor(control_.get())) {
        callbackThreads_.emplace_back([this, fd] {
            Channel channel(fd);
            serveCallbacks(channel);
        });
    }
}

void ClientProcess::serveCallbacks(Channel& channel) {
    Json message;
    while (channel.receive(message) && channel.send(answerTo(message))) {
    }
}

/** Returns the answer to a call of a callback or to a death notice. */
Json ClientProcess::answerTo(const Json& message) {
    if (message.contains("callback")) {
        const std::lock_guard lock(mutex_);
        std::string name;
        for (const auto& [each, number] : numbers_) {
            if (message["callback"] == number) name = each;
        }
        callbacks_.push_back(name + "." + message.value("method", "") + " " + textOf(message["arguments"]));
    }
    return {{"answer", Json::object()}};
}

/** Makes a request and serves the callbacks that arrive on its thread. Returns false if the process ended. */
bool ClientProcess::exchange(const Json& request, Json& reply) {
    if (!channel_->send(request)) return false;
    while (channel_->receive(reply)) {
        if (!reply.contains("callback") && !reply.contains("died")) return true;
        if (!channel_->send(answerTo(reply))) return false;
    }
    return false;
}

/** Returns the arguments with numbers in place of the names of the client's own objects. */
Json ClientProcess::withObjects(const Json& value) {
    if (value.is_object() && value.size() == 1 && value.contains("object") && value["object"].is_string()) {
        const std::lock_guard lock(mutex_);
        const auto [entry, isNew] = numbers_.emplace(value["object"].get<std::string>(), numbers_.size() + 1);
        return {{"callback", entry->second}};
    }
    Json copy = value;
    if (copy.is_structured()) {
        for (Json& member : copy) member = withObjects(member);
    }
    return copy;
}

LineOutcome ClientProcess::call(const ScenarioCall& call, const Json& arguments, Json& results) {
    Json found, reply;
    const Json find{
        {"do", "find"}, {"interface", call.interface}, {"instance", "default"}, {"drop", dropped_}};
    if (channel_ == nullptr || !exchange(find, found)) return kEnded;
    if (found.contains("error")) return outcomeOf(found);
    if (found["value"].is_null()) return {client::kNoService, "", call.interface + " is not registered\n"};
    const Json object = found["value"]["object"];
    if (!exchange({{"do", "call"},
                   {"object", object},
                   {"method", call.method},
                   {"arguments", withObjects(arguments)}},
                  reply))
        return kEnded;
    dropped_ = Json::array({object});
    if (reply.contains("value")) results = reply["value"];
    return outcomeOf(reply);
}

void ClientProcess::kill() {
    if (pid_ > 0) ::kill(pid_, SIGKILL);
    shutdown(control_.get(), SHUT_RDWR);
}

std::vector<std::string> ClientProcess::callbacks() const {
    const std::lock_guard lock(mutex_);
    return callbacks_;
}

}  // namespace hidlaudio::host
