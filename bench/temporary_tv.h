// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace hidlaudio::bench {

/** An empty folder, which is the TV of this process and its children. The destructor deletes it. */
class TemporaryTv {
  public:
    TemporaryTv();
    ~TemporaryTv();
    TemporaryTv(const TemporaryTv&) = delete;
    TemporaryTv& operator=(const TemporaryTv&) = delete;

    const std::string& root() const { return root_; }

  private:
    std::string root_;
};

}  // namespace hidlaudio::bench
