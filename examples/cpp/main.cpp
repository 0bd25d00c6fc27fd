// SPDX-License-Identifier: Apache-2.0
// An app's side of the audio services: follows the HDMI capabilities and uploads HRTF parameters. It reads
// commands from standard input: "set NAME", "upload FILE", "cancel".
#include <stdio.h>
#include <stdlib.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <thread>

#include "connection.h"
#include "upload.h"

using android::sp;
using android::hardware::hidl_string;
using android::hardware::Return;

namespace {

class App {
  public:
    int run();

  private:
    bool reconnect();
    void handle(const Event& event);
    void handleCommand(const std::string& command);
    void set(const std::string& name);
    void startUpload(const std::string& file);
    void continueUpload(Upload& upload);
    void endUpload(const char* text);

    const sp<Events> events_ = new Events;
    Connection connection_;
    std::optional<Upload> upload_;
};

int App::run() {
    // Commands arrive on a thread of their own, like everything else that the main thread waits for.
    std::thread([events = events_] {
        for (std::string line; std::getline(std::cin, line);) {
            events->add({Event::Kind::Command, line, 0, 0});
        }
        events->add({Event::Kind::Command, "quit", 0, 0});
    }).detach();
    if (!reconnect()) return EXIT_FAILURE;
    for (;;) {
        // One piece of an upload at a time, so that a command or a death notice is not delayed.
        const bool busy = upload_ && upload_->isAppending();
        const std::optional<Event> event = busy ? events_->poll() : events_->next();
        if (event && event->text == "quit") return EXIT_SUCCESS;
        if (event) {
            handle(*event);
        } else if (upload_) {
            continueUpload(*upload_);
        }
    }
}

bool App::reconnect() {
    connection_ = connect(events_, connection_.link + 1);
    puts(connection_.hdmi != nullptr ? "connected" : "this TV has no such services");
    return connection_.hdmi != nullptr;
}

void App::handle(const Event& event) {
    if (event.kind == Event::Kind::Command) return handleCommand(event.text);
    // Events of an older connection arrive late: its services are gone.
    if (event.link != connection_.link) return;
    switch (event.kind) {
        case Event::Kind::Changed:
            printf("changed%s\n", event.text.c_str());
            break;
        case Event::Kind::Uploaded:
            endUpload(event.result == 0 ? "uploaded" : event.result == 1 ? "cancelled" : "upload failed");
            break;
        default:
            puts("the service has died");
            // Its buffers and callbacks are gone: an upload that was under way gets no result.
            if (upload_) endUpload("upload lost");
            if (!reconnect()) exit(EXIT_FAILURE);
    }
}

void App::handleCommand(const std::string& command) {
    if (command.rfind("set ", 0) == 0) return set(command.substr(4));
    if (command.rfind("upload ", 0) == 0) return startUpload(command.substr(7));
    if (command == "cancel" && upload_) {
        upload_->cancel();
        if (upload_->failed()) endUpload("cancelled");
    }
}

void App::set(const std::string& name) {
    const Return<int32_t> result = connection_.hdmi->setAudioCapabilities({hidl_string(name)});
    if (result.isOk() && result == 0) return;
    // After DEAD_OBJECT the death notice follows, which makes a new connection.
    printf("set failed: %s\n", result.isOk() ? std::to_string(result).c_str() : result.description().c_str());
}

void App::startUpload(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream || upload_) {
        puts(upload_ ? "an upload is under way" : "cannot read the file");
        return;
    }
    const std::vector<uint8_t> data{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    upload_.emplace(connection_, events_, data);
    if (upload_->failed()) endUpload("upload failed");
}

void App::continueUpload(Upload& upload) {
    upload.step();
    if (upload.failed()) return endUpload("upload failed");
    if (upload.isAppending()) printf("%d %%\n", upload.percent());
}

void App::endUpload(const char* text) {
    upload_.reset();
    puts(text);
}

}  // namespace

int main() {
    setvbuf(stdout, nullptr, _IOLBF, 0);
    return App().run();
}
