// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

#include <string>

namespace hidlaudio::host {

/** A temporary folder, gone with all that is in it; it holds a file of that size to upload. */
class ScratchFolder {
  public:
    explicit ScratchFolder(size_t parametersSize);
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    /** Empty where it could not be made. */
    const std::string& path() const { return path_; }

    std::string parameters() const { return path_ + "/parameters.bin"; }

  private:
    std::string path_;
};

}  // namespace hidlaudio::host
