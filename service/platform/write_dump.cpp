// SPDX-License-Identifier: Apache-2.0
#include "write_dump.h"

#include <string.h>

#include <string>
#include <string_view>

#include "log.h"
#include "write_nonblocking.h"

namespace com::tovi::dtv::hardware::audio::platform {
namespace {

using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;

constexpr char kHelp[] =
    "Options:\n"
    "  --json  the state as one JSON object instead of text\n"
    "  --help  this list\n";

/** Longest part of an unknown option, in bytes, that the answer repeats. */
constexpr size_t kLongestQuote = 64;

std::string compose(const hidl_vec<hidl_string>& options, const std::function<ServiceState()>& collect) {
    bool json = false;
    bool help = false;
    for (const hidl_string& option : options) {
        const std::string_view word(option.c_str(), option.size());
        if (word == "--json") {
            json = true;
        } else if (word == "--help") {
            help = true;
        } else {
            return "Unknown option " + quote(word.substr(0, kLongestQuote)) + "\n" + kHelp;
        }
    }
    if (help) return kHelp;
    const ServiceState state = collect();
    return json ? toJson(state) : toText(state);
}

}  // namespace

void writeDump(const hidl_handle& handle, const hidl_vec<hidl_string>& options,
               const std::function<ServiceState()>& collect) {
    const native_handle_t* const native = handle.getNativeHandle();
    if (native == nullptr || native->numFds < 1) return;
    const int error = writeNonBlocking(native->data[0], compose(options, collect));
    if (error != 0) logWarning(kNoTag, "[debug] the state cannot be written whole: %s", strerror(error));
}

}  // namespace com::tovi::dtv::hardware::audio::platform
