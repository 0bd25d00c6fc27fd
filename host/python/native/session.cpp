// SPDX-License-Identifier: Apache-2.0
#include "session.h"

#include <hidl/HidlTransportSupport.h>
#include <sys/socket.h>

#include <memory>
#include <thread>
#include <utility>

#include "base_calls.h"
#include "passed_descriptor.h"
#include "reply.h"

namespace hidlaudio::python {

using android::sp;
using android::hardware::hidl_death_recipient;
using android::hardware::Return;
using android::hardware::Status;
using hidl_json::findInterface;
using hidl_json::IBase;

namespace {

/** The channel to the Python thread that belongs to this thread. */
thread_local std::unique_ptr<Channel> ownChannel;

class DeathRecipient : public hidl_death_recipient {
  public:
    explicit DeathRecipient(Session& session) : session_(session) {}
    void serviceDied(uint64_t link, const android::wp<IBase>&) override { session_.onDeath(link); }

  private:
    Session& session_;
};

std::string textIn(const Json& request, const char* name) {
    const auto found = request.find(name);
    return found != request.end() && found->is_string() ? found->get<std::string>() : "";
}

/** Creates a channel whose other end Python serves on a new thread. Returns `nullptr` on an error. */
std::unique_ptr<Channel> openChannel(int control) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return nullptr;
    auto channel = std::make_unique<Channel>(ends[0]);
    const android::base::unique_fd other(ends[1]);
    if (!passDescriptor(control, other.get())) return nullptr;
    return channel;
}

}  // namespace

void Session::run() {
    for (int fd = receiveDescriptor(control_); fd >= 0; fd = receiveDescriptor(control_))
        std::thread([this, fd] { serveThread(fd); }).detach();
}

void Session::serveThread(int fd) {
    ownChannel = std::make_unique<Channel>(fd);
    Json request;
    while (ownChannel != nullptr && ownChannel->receive(request)) {
        const Json reply = serve(request);
        if (ownChannel == nullptr || !ownChannel->send(reply)) return;
    }
}

Json Session::exchange(const Json& message) {
    if (ownChannel == nullptr) ownChannel = openChannel(control_);
    Json received;
    for (Json sent = message; ownChannel != nullptr; sent = serve(received)) {
        if (!ownChannel->send(sent) || !ownChannel->receive(received)) break;
        if (received.contains("answer")) return received["answer"];
    }
    ownChannel.reset();  // Python does not wait any more
    return Json();
}

Json Session::onCall(uint64_t relay, const hidl_json::Method& method, const Json& arguments) {
    return exchange({{"callback", relay}, {"method", method.name}, {"arguments", arguments}});
}

void Session::onDeath(uint64_t link) {
    exchange({{"died", link}});
    takeLink(link);
}

Json Session::serve(const Json& request) {
    if (const auto dropped = request.find("drop"); dropped != request.end()) {
        for (const Json& number : *dropped) table_.drop(number.get<uint64_t>());
    }
    const std::string operation = textIn(request, "do");
    if (operation == "find") return findService(request);
    if (operation == "register") return registerService(request);
    if (operation == "unlink") return unlink(request);
    const KnownObject target = table_.find(numberIn(request, "object"));
    if (target.object == nullptr) return invalidReply("unknown object");
    if (operation == "call") return call(target, request);
    if (operation == "cast") return cast(target, request);
    if (operation == "link") return link(target, numberIn(request, "link"));
    if (operation == "same") {
        const sp<IBase> other = table_.find(numberIn(request, "other")).object;
        return reply(android::hardware::interfacesEqual(target.object, other));
    }
    return callBase(operation, *target.object, request);
}

Json Session::findService(const Json& request) {
    const hidl_json::Interface* interface = findInterface(textIn(request, "interface"));
    if (interface == nullptr) return invalidReply("unknown interface");
    const sp<IBase> service = interface->find(textIn(request, "instance"));
    return reply(service == nullptr ? Json() : table_.toJson(service, interface->name));
}

Json Session::call(const KnownObject& target, const Json& request) {
    const std::string name = textIn(request, "method");
    const hidl_json::Method* method =
        target.interface != nullptr ? hidl_json::findMethod(*target.interface, name) : nullptr;
    if (method == nullptr) return invalidReply("unknown method " + name);
    const hidl_json::Outcome outcome =
        method->call(*method, *target.object, request.value("arguments", Json::object()), table_);
    if (!outcome.problem.empty()) return invalidReply(outcome.problem);
    return outcome.isOk ? reply(outcome.results) : failedReply(outcome.isDead, outcome.description);
}

Json Session::cast(const KnownObject& target, const Json& request) {
    const hidl_json::Interface* interface = findInterface(textIn(request, "interface"));
    if (interface == nullptr) return invalidReply("unknown interface");
    const sp<IBase> object = interface->cast(target.object);
    return reply(object == nullptr ? Json() : table_.toJson(object, interface->name));
}

Json Session::link(const KnownObject& target, uint64_t number) {
    const sp<hidl_death_recipient> recipient = new DeathRecipient(*this);
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        links_[number] = {target.object, recipient};
    }
    const auto linked = target.object->linkToDeath(recipient, number);
    if (!linked.isOk() || !linked) takeLink(number);
    return linked.isOk() ? reply(static_cast<bool>(linked)) : failedReply(linked);
}

Session::Link Session::takeLink(uint64_t number) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = links_.find(number);
    if (found == links_.end()) return {};
    Link link = std::move(found->second);
    links_.erase(found);
    return link;
}

Json Session::unlink(const Json& request) {
    const Link link = takeLink(numberIn(request, "link"));
    if (link.object == nullptr) return reply(false);
    const auto unlinked = link.object->unlinkToDeath(link.recipient);
    return unlinked.isOk() ? reply(static_cast<bool>(unlinked)) : failedReply(unlinked);
}

Json Session::registerService(const Json& request) {
    const std::string name = textIn(request, "interface");
    const hidl_json::Interface* interface = findInterface(name);
    std::string problem = "unknown interface";
    const sp<IBase> object =
        interface != nullptr ? table_.fromJson(request["implementation"], interface->name, problem) : nullptr;
    if (object == nullptr) return invalidReply(problem);
    const Return<void> registered =
        Status::fromStatusT(interface->registerAsService(object, textIn(request, "instance")));
    return registered.isOk() ? reply(Json()) : failedReply(registered);
}

}  // namespace hidlaudio::python
