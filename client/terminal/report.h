// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <initializer_list>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "client/exit_status.h"

namespace hidlaudio::client {

struct Invocation;

/** Tells the user on standard error why a command did not do it; returns `status`. */
int fail(ExitStatus status, const std::string& message);

/** Tells the user on standard error what he may want to know. */
void note(const std::string& message);

/** Prints `value` on a line of its own. Bytes that are no UTF-8 become U+FFFD. */
void printJson(const nlohmann::json& value);

/** Prints what a getter read: `text`, or {"value": value}; kDone. */
int printValue(const Invocation& invocation, const nlohmann::json& value, const std::string& text);

/** What a result code of a method means; one line of a method's table. */
struct ResultMeaning {
    int32_t result;
    const char* meaning;
};

/**
 * Reports the result code of `method`: {"result": N} with --json; where it is not 0,
 * its meaning from `meanings`, else `otherwise`, on standard error. Returns kDone for
 * 0, else kRefused.
 */
int reportResult(const Invocation& invocation, const char* method, int32_t result,
                 std::initializer_list<ResultMeaning> meanings, const char* otherwise);

}  // namespace hidlaudio::client
