// SPDX-License-Identifier: Apache-2.0
#include "parameters.h"

#include <errno.h>

#include "host/tv_files/tv_root.h"
#include "host/tv_files/value_file.h"
#include "operations.h"

namespace hidlaudio::host {
namespace {

std::string fileOf(const std::string& key) {
    return tvRoot() + kHalParameterFolder + "/" + key;
}

}  // namespace

const size_t kLongestParameter = kLargestValueFile - 1;

int writeParameter(const std::string& key, const std::string& value) {
    return writeValueFile(fileOf(key), value + "\n");
}

int readParameter(const std::string& key, std::optional<std::string>& value) {
    value.reset();
    if (!isValueName(key)) return 0;
    std::string text;
    const int error = readValueFile(fileOf(key), text);
    if (error != 0) return error == ENOENT ? 0 : error;
    if (!text.empty() && text.back() == '\n') text.pop_back();
    value = text;
    return 0;
}

}  // namespace hidlaudio::host
