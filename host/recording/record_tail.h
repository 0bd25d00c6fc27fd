// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>
#include <stdint.h>

#include <string>
#include <vector>

namespace hidlaudio::host {

/** Follows a record while it is written. */
class RecordTail {
  public:
    enum class From { Start, End };
    RecordTail(const std::string& path, From from);

    /** Returns 0 if the file is open, or the errno. */
    int error() const { return error_; }

    /** Returns the complete lines since the last call, without their newlines. */
    std::vector<std::string> takeLines();

  private:
    android::base::unique_fd file_;
    int error_ = 0;
    int64_t read_ = 0;
    std::string incomplete_;
};

}  // namespace hidlaudio::host
