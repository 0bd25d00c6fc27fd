// SPDX-License-Identifier: Apache-2.0
#include "report.h"

#include <stdio.h>

#include <nlohmann/json.hpp>

#include "client/invocation.h"

namespace hidlaudio::client {

using nlohmann::json;

int fail(ExitStatus status, const std::string& message) {
    note(message);
    return status;
}

void note(const std::string& message) {
    fprintf(stderr, "audioctl: %s\n", message.c_str());
}

void printJson(const json& value) {
    printf("%s\n", value.dump(-1, ' ', false, json::error_handler_t::replace).c_str());
}

int printValue(const Invocation& invocation, const json& value, const std::string& text) {
    if (invocation.json) {
        printJson({{"value", value}});
    } else {
        printf("%s\n", text.c_str());
    }
    return kDone;
}

const char* meaningOf(int32_t result, std::initializer_list<ResultMeaning> meanings, const char* otherwise) {
    for (const ResultMeaning& known : meanings) {
        if (known.result == result) return known.meaning;
    }
    return otherwise;
}

int reportResult(const Invocation& invocation, const char* method, int32_t result,
                 std::initializer_list<ResultMeaning> meanings, const char* otherwise) {
    if (invocation.json) printJson({{"result", result}});
    if (result == 0) return kDone;
    return fail(kRefused, std::string(method) + " returned " + std::to_string(result) + ": " +
                              meaningOf(result, meanings, otherwise));
}

}  // namespace hidlaudio::client
