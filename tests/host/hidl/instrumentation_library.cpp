// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <hidl/HidlSupport.h>
#include <unistd.h>

#include "host/tv_files/tv_root.h"

// Instrumentation library of the test: appends a line per event to the file "events" of the TV, with the
// first argument or result if the method has one and that is an integer.
namespace {

using android::hardware::details::HidlInstrumentor;

void note(HidlInstrumentor::InstrumentationEvent event, const char* package, const char* version,
          const char* interface, const char* method, std::vector<void*>* args) {
    static constexpr const char* kNames[] = {"server entry", "server exit", "client entry", "client exit"};
    std::string line =
        std::string(kNames[event]) + " " + package + "@" + version + "::" + interface + "." + method;
    const std::string name = method;
    if (name == "add" || name == "number" || name == "onEvent")
        for (const void* one : *args) line += " " + std::to_string(*static_cast<const int32_t*>(one));
    line += "\n";
    const int file = open((hidlaudio::host::tvRoot() + "/events").c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    if (write(file, line.data(), line.size()) < 0) abort();
    close(file);
}

}  // namespace

#define INSTRUMENTATION_FUNCTION(interface)                                                           \
    extern "C" __attribute__((visibility("default"))) void HIDL_INSTRUMENTATION_FUNCTION_##interface( \
        HidlInstrumentor::InstrumentationEvent event, const char* package, const char* version,       \
        const char* name, const char* method, std::vector<void*>* args) {                             \
        note(event, package, version, name, method, args);                                            \
    }
INSTRUMENTATION_FUNCTION(com_tovi_test_probe_V1_1_IProbe)
INSTRUMENTATION_FUNCTION(com_tovi_test_probe_V1_0_IProbeCallback)
