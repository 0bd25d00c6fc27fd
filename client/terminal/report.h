// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <initializer_list>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "client/exit_status.h"

namespace hidlaudio::client {

struct Invocation;

/** Prints an error message to standard error. Returns `status`. */
int fail(ExitStatus status, const std::string& message);

/** Prints a message to standard error. */
void note(const std::string& message);

/** Prints `value` on one line. Invalid UTF-8 is replaced by U+FFFD. */
void printJson(const nlohmann::json& value);

/** Prints a value that was read: `text`, or {"value": value} with --json. Returns kDone. */
int printValue(const Invocation& invocation, const nlohmann::json& value, const std::string& text);

/** The meaning of one result code of a method. */
struct ResultMeaning {
    int32_t result;
    const char* meaning;
};

/** Returns the meaning of a result code, or `otherwise` if it is not listed. */
const char* meaningOf(int32_t result, std::initializer_list<ResultMeaning> meanings, const char* otherwise);

/**
 * Reports the result code of `method`. Prints {"result": N} with --json. If the code is not 0, prints its
 * meaning from `meanings`, or `otherwise` if it is not listed there, to standard error. Returns kDone for 0,
 * or else kRefused.
 */
int reportResult(const Invocation& invocation, const char* method, int32_t result,
                 std::initializer_list<ResultMeaning> meanings, const char* otherwise);

}  // namespace hidlaudio::client
