// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

#include <string>

namespace hidlaudio::host {

/** A temporary folder that is deleted with its content. It contains a parameter file for uploads. */
class ScratchFolder {
  public:
    /** `parametersSize` is the size of the parameter file in bytes. */
    explicit ScratchFolder(size_t parametersSize);
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    /** Returns the path, or "" if the folder could not be created. */
    const std::string& path() const { return path_; }

    std::string parameters() const { return path_ + "/parameters.bin"; }

  private:
    std::string path_;
};

}  // namespace hidlaudio::host
