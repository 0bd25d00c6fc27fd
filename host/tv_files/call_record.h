// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace hidlaudio::host {

/**
 * The record of a program's calls to the TV, in their order, in the file that $HIDLAUDIO_CALLS names. Each
 * line is "SOURCE CALL TARGET", separated by tabs. Several programs may write to the same file. All functions
 * may be called from any thread.
 */

constexpr char kCallsVariable[] = "HIDLAUDIO_CALLS";

/** Values of SOURCE: the part of the TV that serves the call. */
constexpr std::string_view kKernelCalls = "kernel";
constexpr std::string_view kMiddlewareCalls = "middleware";
constexpr std::string_view kPowerCalls = "power";
constexpr std::string_view kHalCalls = "hal";

/** Returns whether calls are recorded. The environment is read only once. */
bool recordsCalls();

/** Returns 0, or the errno of opening the record. */
int callRecordError();

/** Adds a line if calls are recorded. Does not change errno. */
void recordCall(std::string_view source, std::string_view call, std::string_view target);

struct RecordedCall {
    std::string source;
    std::string call;
    std::string target;  // file, key or command that the call is about
};

/** Reads a record and skips incomplete lines. Returns no calls if the file does not exist. */
std::vector<RecordedCall> readCallRecord(const std::string& path);

}  // namespace hidlaudio::host
