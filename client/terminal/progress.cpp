// SPDX-License-Identifier: Apache-2.0
#include "progress.h"

#include <stdint.h>
#include <stdio.h>
#include <unistd.h>

#include <string>

namespace hidlaudio::client {
namespace {

constexpr unsigned kWidth = 40;

}  // namespace

Progress::Progress(size_t total) : total_(total), onTerminal_(isatty(STDERR_FILENO) == 1) {
    show(0);
}

Progress::~Progress() {
    if (onTerminal_) fputs("\r\x1b[K", stderr);
}

void Progress::show(size_t done) {
    const auto percent = total_ == 0 ? 100U : static_cast<unsigned>(uint64_t{done} * 100 / total_);
    if (!onTerminal_ || percent == percent_) return;
    percent_ = percent;
    const unsigned filled = percent * kWidth / 100;
    fprintf(stderr, "\r[%s%s] %3u %%", std::string(filled, '#').c_str(),
            std::string(kWidth - filled, ' ').c_str(), percent);
}

}  // namespace hidlaudio::client
