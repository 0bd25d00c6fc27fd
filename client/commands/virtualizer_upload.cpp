// SPDX-License-Identifier: Apache-2.0
#include <android-base/stringprintf.h>
#include <com/tovi/dtv/hardware/audio/5.1/IHeadphoneVirtualizer.h>
#include <errno.h>
#include <stdint.h>
#include <string.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "client/commands.h"
#include "client/services/apply_result.h"
#include "client/services/service_call.h"
#include "client/terminal/progress.h"

namespace hidlaudio::client {
namespace {

using android::sp;
using android::base::StringPrintf;
using android::hardware::hidl_vec;
using android::hardware::Return;
using com::tovi::dtv::hardware::audio::V5_0::ParamType;
using com::tovi::dtv::hardware::audio::V5_1::IHeadphoneVirtualizer;
using Clock = std::chrono::steady_clock;
using Bytes = std::vector<uint8_t>;

/** Default time-out of an upload, in seconds. The service reports its end within 40 s. */
constexpr double kLongestUpload = 60;

struct UploadOptions {
    std::string kind;
    std::string file;
    int32_t chunk = 0;  // 0: the service's limit
    std::optional<double> cancelAfter;
    bool noWait = false;
};

/** An upload in progress. */
struct Upload {
    const Invocation& invocation;
    const UploadOptions& options;
    sp<IHeadphoneVirtualizer> object;
    std::string name;
    Bytes data;
    int32_t handle = 0;
    sp<ApplyResult> end;
    Clock::time_point begin = Clock::now();

    /** Calls a method that returns a number, within one Deadline. Returns the exit status. */
    template <typename Interface, typename... Parameters, typename... Arguments>
    int call(int32_t& answer, Return<int32_t> (Interface::*method)(Parameters...),
             const Arguments&... arguments) const {
        const Deadline deadline(invocation, name);
        return Service<Interface>(object, name).call(answer, method, arguments...);
    }
};

constexpr std::initializer_list<ResultMeaning> kCallMeanings = {
    {-1, "the buffer does not exist: another client has allocated one of this kind"},
    {-2, "too much data for one call or for the buffer"},
    {-3, "busy: an upload is in progress"},
    {-5, "not supported: the back-end controller cannot be reached"},
};

constexpr std::initializer_list<ResultMeaning> kEndMeanings = {
    {0, "the controller has accepted the parameters"},
    {1, "canceled"},
    {-1, "the controller reported an error"},
    {-2, "it took longer than 20 s, could not be sent, or the controller reported an unknown status"},
    {-3, "it could not be prepared, or the controller aborted it"},
};

constexpr char kUnknown[] = "an unknown result";

/** Reads the file, which must not be empty. Returns the exit status. */
int readFile(const std::string& path, Bytes& bytes) {
    struct stat status{};
    if (stat(path.c_str(), &status) != 0) return fail(kWrongUsage, path + ": " + strerror(errno));
    if (!S_ISREG(status.st_mode)) return fail(kWrongUsage, path + " is not a regular file");
    if (status.st_size == 0) return fail(kWrongUsage, path + " is empty: there is nothing to upload");
    if (status.st_size > INT32_MAX)
        return fail(kWrongUsage, path + ": the limit of an upload is 2147483647 bytes");
    bytes.resize(static_cast<size_t>(status.st_size));
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(status.st_size)))
        return kDone;
    return fail(kWrongUsage,
                path + " cannot be read: " + (errno != 0 ? strerror(errno) : "it was truncated"));
}

int refused(const char* method, int32_t result) {
    return fail(kRefused, StringPrintf("%s returned %d: %s", method, result,
                                       meaningOf(result, kCallMeanings, kUnknown)));
}

int allocate(Upload& upload) {
    const ParamType kind = upload.options.kind == "hrtf" ? ParamType::HRTF : ParamType::DEVICE;
    const int status = upload.call(upload.handle, &IHeadphoneVirtualizer::allocateParameterBuffer, kind,
                                   static_cast<int32_t>(upload.data.size()));
    if (status != kDone || upload.handle != 0) return status;
    return fail(kRefused, "allocateParameterBuffer returned 0: the service does not have enough memory");
}

int chooseChunk(const Upload& upload, size_t& chunk) {
    int32_t largest = upload.options.chunk;
    int status = kDone;
    if (largest == 0) status = upload.call(largest, &IHeadphoneVirtualizer::getMaxAppendSize);
    if (status == kDone && largest <= 0) status = refused("getMaxAppendSize", largest);
    chunk = static_cast<size_t>(largest);
    return status;
}

int sendAll(Upload& upload) {
    size_t chunk = 0;
    int status = chooseChunk(upload, chunk);
    Progress progress(upload.data.size());
    for (size_t sent = 0; sent < upload.data.size() && status == kDone;) {
        const size_t size = std::min(chunk, upload.data.size() - sent);
        hidl_vec<uint8_t> piece;
        piece.setToExternal(upload.data.data() + sent, size);
        int32_t result = 0;
        status = upload.call(result, &IHeadphoneVirtualizer::append, upload.handle, piece);
        if (status == kDone && result != 0) status = refused("append", result);
        sent += size;
        progress.show(sent);
    }
    return status;
}

int apply(Upload& upload) {
    upload.end = new ApplyResult;
    const Return<bool> linked = upload.object->linkToDeath(upload.end, 0);
    if (!linked.isOk() || !linked) return fail(kNoService, upload.name + " ended during the call");
    int32_t result = 0;
    const int status = upload.call(result, &IHeadphoneVirtualizer::apply, upload.handle, upload.end);
    return status == kDone && result != 0 ? refused("apply", result) : status;
}

int cancel(Upload& upload) {
    int32_t result = 0;
    const int status = upload.call(result, &IHeadphoneVirtualizer::cancel, upload.handle);
    if (status == kDone && result != 0) {
        note(StringPrintf("cancel returned %d: there is nothing to cancel, or the controller refused",
                          result));
    }
    return status;
}

/** Waits for the end of the upload, and cancels it after --cancel-after. Returns the exit status. */
int awaitEnd(Upload& upload) {
    const double limit = upload.invocation.timeout.value_or(kLongestUpload);
    const auto end = timeIn(limit + upload.options.cancelAfter.value_or(0));
    if (upload.options.cancelAfter && !upload.end->wait(timeIn(*upload.options.cancelAfter))) {
        if (const int status = cancel(upload); status != kDone) return status;
    }
    if (upload.end->wait(end)) return kDone;
    return fail(kTimedOut, StringPrintf("no result from %s within %g s", upload.name.c_str(), limit));
}

/** Prints the result of the upload. Returns the exit status. */
int report(const Upload& upload, const std::optional<int32_t>& result) {
    const double time = std::chrono::duration<double>(Clock::now() - upload.begin).count();
    const size_t size = upload.data.size();
    const int32_t code = result.value_or(0);
    if (upload.invocation.json) {
        printJson({{"handle", upload.handle},
                   {"bytes", size},
                   {"seconds", std::round(time * 1e6) / 1e6},
                   {"result", result ? nlohmann::json(*result) : nlohmann::json(nullptr)}});
    } else if (code == 0) {
        printf("%s %zu bytes in %.3f s, %.1f MiB/s%s\n", result ? "uploaded" : "sent", size, time,
               static_cast<double>(size) / time / 1048576, result ? "" : "; the upload continues");
    }
    if (code == 0) return kDone;
    return fail(kRefused,
                StringPrintf("the upload ended with %d: %s", code, meaningOf(code, kEndMeanings, kUnknown)));
}

int run(Upload& upload) {
    int status = allocate(upload);
    if (status != kDone) return status;
    status = sendAll(upload);
    if (status == kDone) status = apply(upload);
    if (status == kRefused) {
        // Release the service's memory: this program does not try again.
        int32_t ignored = 0;
        upload.call(ignored, &IHeadphoneVirtualizer::discardParameterBuffer, upload.handle);
    }
    if (status != kDone) return status;
    if (upload.options.noWait) return report(upload, std::nullopt);
    status = awaitEnd(upload);
    if (status != kDone) return status;
    const std::optional<int32_t> result = upload.end->result();
    return result ? report(upload, result) : fail(kNoService, upload.name + " ended during the upload");
}

int start(const Invocation& invocation, const UploadOptions& options) {
    Bytes data;
    if (const int status = readFile(options.file, data); status != kDone) return status;
    const std::string name = std::string(IHeadphoneVirtualizer::descriptor) + "/default";
    sp<IHeadphoneVirtualizer> service;
    {
        const Deadline deadline(invocation, name);
        service = IHeadphoneVirtualizer::tryGetService();
    }
    if (service == nullptr) return noService(name);
    Upload upload{invocation, options, service, name, std::move(data), 0, nullptr};
    return run(upload);
}

}  // namespace

void addVirtualizerUpload(host::Command parent, Invocation& invocation) {
    const auto options = std::make_shared<UploadOptions>();
    const host::Command command = addCommand(
        parent, invocation, "upload", "Upload parameters to the back-end controller",
        R"(Waits until the controller has reported the result. The exit status is 0 if it has accepted the
parameters, or else 1. Cancels any other upload of the same kind. --timeout limits each call to the
service (default: 30 s) and the upload itself (default: 60 s).

With --json: {"handle": ..., "bytes": ..., "seconds": ..., "result": ...}; with --no-wait the result
is null.

Examples:
  head -c 100000 /dev/urandom >set.bin
  audioctl virtualizer upload hrtf set.bin
  audioctl virtualizer upload device set.bin --chunk 4096 --cancel-after 10)",
        [&invocation, options] { return start(invocation, *options); });
    command.argument("device|hrtf", options->kind, "Upload parameters of this kind")
        .required()
        .oneOf({"device", "hrtf"});
    command.argument("FILE", options->file, "Upload the bytes of this file").required();
    command
        .option("--chunk", "BYTES", options->chunk,
                "Send this many bytes per call (default: the service's limit)")
        .integer(1, INT32_MAX);
    const host::Option after = command
                                   .option("--cancel-after", "SECONDS", options->cancelAfter,
                                           "Cancel the upload after this time (default: never)")
                                   .number(0, 86400);
    command.flag("--no-wait", options->noWait, "Return when the upload has started").excludes(after);
}

}  // namespace hidlaudio::client
