// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace hidlaudio::host {

/**
 * The record of the calls that a program makes to the TV, in the order in which it
 * makes them: a line each, "SOURCE CALL ON" with tabs between, in the file that
 * $HIDLAUDIO_CALLS names. Programs may share it. Any thread.
 */

constexpr char kCallsVariable[] = "HIDLAUDIO_CALLS";

/** Who serves a call, as the record names them. */
constexpr std::string_view kKernelCalls = "kernel";
constexpr std::string_view kMiddlewareCalls = "middleware";
constexpr std::string_view kPowerCalls = "power";
constexpr std::string_view kHalCalls = "hal";

/** Whether there is a record; the environment is looked at once. */
bool recordsCalls();

/** 0, or the errno that keeps the file from being written. */
int callRecordError();

/** Adds a line; leaves errno alone. Does nothing where there is no record. */
void recordCall(std::string_view source, std::string_view call, std::string_view on);

struct RecordedCall {
    std::string source;
    std::string name;
    std::string target;  // the file, key or command that the call is about
};

/** The lines of a record that are whole; none where there is no such file. */
std::vector<RecordedCall> readCallRecord(const std::string& path);

}  // namespace hidlaudio::host
