// SPDX-License-Identifier: Apache-2.0
#include "scenario_clients.h"

#include <utility>

#include "client/exit_status.h"
#include "host/program/hex.h"

namespace hidlaudio::host {
namespace {

/** Time-out of a call. No call takes nearly as long, even on a busy machine. */
constexpr std::chrono::seconds kCallTimeout{30};
/** Maximum of a byte vector, so that a wrong number in a scenario cannot exhaust the memory. */
constexpr size_t kMaxBytes = size_t{64} * 1024 * 1024;

size_t sizeIn(const Json& value, const char* name, size_t otherwise) {
    const auto found = value.find(name);
    return found != value.end() && found->is_number_unsigned() ? found->get<size_t>() : otherwise;
}

/** Replaces {"hex"}, {"size"} and {"file"} with the bytes that they describe. Returns an error message. */
std::string resolveBytes(const std::string& folder, Json& value) {
    std::string bytes;
    if (const auto hex = value.find("hex"); hex != value.end() && hex->is_string()) {
        const auto digits = fromHex(hex->get<std::string>());
        if (!digits) return "\"hex\" must have pairs of hexadecimal digits";
        bytes = *digits;
    } else if (const auto file = value.find("file"); file != value.end() && file->is_string()) {
        const std::string content = contentOf(folder + "/" + file->get<std::string>());
        const size_t offset = sizeIn(value, "offset", 0);
        if (offset > content.size()) return file->get<std::string>() + " is missing or too short";
        bytes = content.substr(offset, sizeIn(value, "size", content.size()));
    } else {
        const size_t size = sizeIn(value, "size", 0);
        if (size > kMaxBytes) return "\"size\" must be at most " + std::to_string(kMaxBytes);
        bytes.assign(size, '\0');
    }
    value = Json::binary({bytes.begin(), bytes.end()});
    return "";
}

/** Returns whether the value describes the bytes of a vector. */
bool isBytes(const Json& value) {
    if (!value.is_object()) return false;
    for (const char* name : {"hex", "size", "file"}) {
        if (value.contains(name)) return value.begin().key() == name;
    }
    return false;
}

}  // namespace

std::string ScenarioClients::resolve(Json& value) {
    if (value.is_string() && value.get_ref<const std::string&>().rfind('$', 0) == 0) {
        const std::string name = value.get<std::string>().substr(1);
        for (auto& [ignored, client] : clients_) {
            if (client.running.valid() && client.call.variable == name) finish(client);
        }
        value = variables_[name];
    } else if (isBytes(value)) {
        return resolveBytes(tv_.folder, value);
    } else if (value.is_structured()) {
        for (Json& member : value) {
            if (std::string problem = resolve(member); !problem.empty()) return problem;
        }
    }
    return "";
}

/** Ends the calls that are still running, because the destructor of a future waits for them. */
ScenarioClients::~ScenarioClients() {
    for (auto& [name, client] : clients_) {
        if (client.process != nullptr) client.process->kill();
    }
}

std::string ScenarioClients::call(size_t line, const ScenarioLine& what) {
    Client& client = clients_[what.call.client];
    finish(client);
    Json arguments = what.call.arguments;
    for (Json& argument : arguments) {
        if (std::string problem = resolve(argument); !problem.empty()) return problem;
    }
    if (client.process == nullptr) {
        client.process = std::make_unique<ClientProcess>();
        const std::string problem = client.process->start(tv_, files_ + "/client." + what.call.client);
        if (!problem.empty()) return problem;
    }
    client.line = line;
    client.call = what.call;
    client.results = nullptr;
    client.running = std::async(std::launch::async, [&client, arguments] {
        return client.process->call(client.call, arguments, client.results);
    });
    if (!what.background) finish(client);
    return "";
}

/** Waits for the client's call, if one is running, and passes its outcome on. */
void ScenarioClients::finish(Client& client) {
    if (!client.running.valid()) return;
    const bool timedOut = client.running.wait_for(kCallTimeout) != std::future_status::ready;
    if (timedOut) client.process->kill();
    LineOutcome outcome = client.running.get();
    if (timedOut) outcome = {client::kTimedOut, "", "no answer\n"};
    if (!client.call.variable.empty()) {
        const bool isSingle = client.results.is_object() && client.results.size() == 1;
        variables_[client.call.variable] = isSingle ? client.results.front() : client.results;
    }
    done_(client.line, outcome, timedOut);
    if (timedOut) kill(client.call.client);
}

void ScenarioClients::kill(const std::string& name) {
    const auto found = clients_.find(name);
    if (found == clients_.end() || found->second.process == nullptr) return;
    Client& client = found->second;
    client.process->kill();
    finish(client);
    const std::vector<std::string> callbacks = client.process->callbacks();
    client.callbacks.insert(client.callbacks.end(), callbacks.begin(), callbacks.end());
    client.process.reset();
}

void ScenarioClients::finish() {
    for (auto& [name, client] : clients_) finish(client);
}

std::map<std::string, std::vector<std::string>> ScenarioClients::callbacks() const {
    std::map<std::string, std::vector<std::string>> all;
    for (const auto& [name, client] : clients_) {
        all[name] = client.callbacks;
        if (client.process == nullptr) continue;
        for (const std::string& each : client.process->callbacks()) all[name].push_back(each);
    }
    return all;
}

}  // namespace hidlaudio::host
