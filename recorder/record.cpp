// SPDX-License-Identifier: Apache-2.0
#include "record.h"

#include <hwbinder/IPCThreadState.h>
#include <string.h>
#include <unistd.h>

#include "decoder.h"
#include "recording.h"

namespace hidlaudio::recorder {
namespace {

using Event = HidlInstrumentor::InstrumentationEvent;

/** A call that this thread serves or makes. */
struct OpenCall {
    uint64_t id;
    int64_t start;
    const char* interface;
    const char* method;
    bool isIncoming;
};

int64_t storeBytes(const uint8_t* data, size_t size);

/** The unfinished calls of a thread, innermost last, and the line that it writes. */
struct ThreadState {
    std::vector<OpenCall> open;
    unsigned recording = 0;  // the record that has these calls
    pid_t client = 0;        // of the last call; the record describes it
    const int64_t thread = gettid();
    Text line{storeBytes};

    ~ThreadState();
};

ThreadState& thread() {
    static thread_local ThreadState state;
    return state;
}

int64_t storeBytes(const uint8_t* data, size_t size) {
    return Recording::self().store(thread().recording, data, size);
}

uint64_t nextId() {
    static std::atomic<uint64_t> last{0};
    return ++last;
}

const MethodDecoder* findDecoder(const char* interface, const char* method) {
    for (size_t i = 0; i < kInterfaceCount; ++i) {
        const InterfaceDecoder& one = kInterfaces[i];
        if (strcmp(one.name, interface) != 0) continue;
        for (size_t k = 0; k < one.methodCount; ++k) {
            if (strcmp(one.methods[k].name, method) == 0) return &one.methods[k];
        }
    }
    return nullptr;
}

void writeValues(Text& line, const char* key, WriteValues writer, const std::vector<void*>& values) {
    if (writer == nullptr) return;
    line.key(key);
    writer(line, values.data());
}

void beginLine(Text& line, const char* event, const OpenCall& call, int64_t now) {
    line.beginLine(event);
    line.key("id"), line.number(call.id);
    line.key("time"), line.seconds(now);
}

void endLine(ThreadState& state) {
    state.line.endLine();
    Recording::self().append(state.recording, state.line.text());
}

void writeCall(ThreadState& state, const OpenCall& call, const std::vector<void*>& values) {
    Text& line = state.line;
    beginLine(line, "call", call, call.start);
    line.key("thread"), line.number(state.thread);
    line.key("direction"), line.string(call.isIncoming ? "in" : "out");
    if (call.isIncoming) line.key("client"), line.number(state.client);
    line.key("interface"), line.string(call.interface);
    line.key("method"), line.string(call.method);
    const MethodDecoder* decoder = findDecoder(call.interface, call.method);
    if (decoder != nullptr) writeValues(line, "arguments", decoder->arguments, values);
    endLine(state);
}

void writeAnswer(ThreadState& state, const OpenCall& call, int64_t now, const std::vector<void*>& values) {
    Text& line = state.line;
    beginLine(line, "answer", call, now);
    line.key("duration"), line.seconds(now - call.start);
    const MethodDecoder* decoder = findDecoder(call.interface, call.method);
    if (decoder != nullptr) writeValues(line, "results", decoder->results, values);
    endLine(state);
}

/** Ends the innermost call, which has failed: the proxy reports no event then, so its end is not known. */
void writeFailure(ThreadState& state, int64_t now) {
    beginLine(state.line, "answer", state.open.back(), now);
    state.line.key("failed"), state.line.boolean(true);
    endLine(state);
    state.open.pop_back();
}

ThreadState::~ThreadState() {
    const int64_t now = nanosecondsNow();
    if (Recording::self().current(now) != recording) return;
    while (!open.empty()) writeFailure(*this, now);
}

/** Makes the record describe the caller. Returns false if its calls are left out. */
bool acceptClient(ThreadState& state, int64_t now) {
    const pid_t client = android::hardware::IPCThreadState::self()->getCallingPid();
    if (client == Recording::self().controller()) return false;
    if (client != state.client) Recording::self().introduce(state.recording, client, now);
    state.client = client;
    return true;
}

void beginCall(ThreadState& state, const OpenCall& call, const std::vector<void*>& values) {
    if (call.isIncoming && !acceptClient(state, call.start)) return;
    // A thread that waits for an answer makes no other call, except from inside one that it serves.
    const bool hasFailed = !call.isIncoming && !state.open.empty() && !state.open.back().isIncoming;
    if (hasFailed) writeFailure(state, call.start);
    writeCall(state, call, values);
    state.open.push_back(call);
}

void endCall(ThreadState& state, const OpenCall& answered, const std::vector<void*>& values) {
    const auto isAnswered = [&](const OpenCall& call) {
        return call.isIncoming == answered.isIncoming && strcmp(call.method, answered.method) == 0 &&
               strcmp(call.interface, answered.interface) == 0;
    };
    size_t count = state.open.size();
    while (count > 0 && !isAnswered(state.open[count - 1])) --count;
    if (count == 0) return;  // the call began before the record
    const int64_t now = answered.start;
    while (state.open.size() > count) writeFailure(state, now);
    writeAnswer(state, state.open.back(), now, values);
    state.open.pop_back();
}

}  // namespace

void record(const char* interface, Event event, const char* method, const std::vector<void*>& values) {
    const int64_t now = nanosecondsNow();
    const unsigned recording = Recording::self().current(now);
    if (recording == 0) return;
    ThreadState& state = thread();
    if (state.recording != recording) {
        state.open.clear();
        state.client = 0;
        state.recording = recording;
    }
    const bool isIncoming = event == Event::SERVER_API_ENTRY || event == Event::SERVER_API_EXIT;
    const bool isEntry = event == Event::SERVER_API_ENTRY || event == Event::CLIENT_API_ENTRY;
    const OpenCall call{isEntry ? nextId() : 0, now, interface, method, isIncoming};
    if (isEntry) {
        beginCall(state, call, values);
    } else if (isIncoming || event == Event::CLIENT_API_EXIT) {
        endCall(state, call, values);
    }
}

}  // namespace hidlaudio::recorder
