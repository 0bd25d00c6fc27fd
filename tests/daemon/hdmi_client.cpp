// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/dtv/hardware/audio/3.1/IHdmiAudio.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <string>

namespace {

using android::sp;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hardware::Void;
using com::tovi::dtv::hardware::audio::V1_1::IHdmiAudioCallback;
using com::tovi::dtv::hardware::audio::V3_1::IHdmiAudio;

/** Writes a line with one write(2): the main thread and a callback's thread may print at the same time. */
void print(const std::string& line) {
    const std::string text = line + "\n";
    [[maybe_unused]] const ssize_t written = write(STDOUT_FILENO, text.data(), text.size());
}

struct Silent : IHdmiAudioCallback {
    Return<void> onCapabilityChanged(const hidl_vec<hidl_string>&) override { return Void(); }
};

/** Prints the names that it receives. */
struct Printer : IHdmiAudioCallback {
    Return<void> onCapabilityChanged(const hidl_vec<hidl_string>& names) override {
        std::string line;
        for (const hidl_string& name : names) line += (line.empty() ? "" : " ") + std::string(name);
        print(line);
        return Void();
    }
};

/** Prints the names, then stops its process. The callback returns after the test has sent SIGCONT. */
struct Stopper : Printer {
    Return<void> onCapabilityChanged(const hidl_vec<hidl_string>& names) override {
        Printer::onCapabilityChanged(names).isOk();
        raise(SIGSTOP);
        return Void();
    }
};

}  // namespace

/**
 * Registers callbacks, prints "ready" and runs until it is killed. The argument is "print" (one Printer),
 * "twice" (the same Printer twice), "stop" (a Stopper), or the number of Silent callbacks before one Printer.
 */
int main(int, char** argv) {
    const sp<IHdmiAudio> service = IHdmiAudio::getService();
    if (service == nullptr) return 1;
    sp<IHdmiAudioCallback> callback = new Printer;
    if (strcmp(argv[1], "stop") == 0) callback = new Stopper;
    const int times = strcmp(argv[1], "twice") == 0 ? 2 : 1;
    for (int i = atoi(argv[1]); i > 0; --i) {
        if (!service->setCallback(new Silent).isOk()) return 1;
    }
    for (int i = 0; i < times; ++i) {
        if (!service->setCallback(callback).isOk()) return 1;
    }
    print("ready");
    for (;;) pause();
}
