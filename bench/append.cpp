// SPDX-License-Identifier: Apache-2.0
// Compares filling a parameter buffer of the daemon with sending the same bytes over a bare stream socket
// to a process that stores as many of them.

#include <com/tovi/dtv/hardware/audio/5.1/IHeadphoneVirtualizer.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "bare_socket.h"
#include "daemon.h"
#include "measure.h"

namespace {

using android::hardware::hidl_vec;
using com::tovi::dtv::hardware::audio::V5_0::ParamType;
using com::tovi::dtv::hardware::audio::V5_1::IHeadphoneVirtualizer;
using hidlaudio::bench::BareSocket;
using hidlaudio::bench::compare;
using hidlaudio::bench::Daemon;
using hidlaudio::bench::die;
using hidlaudio::bench::nowMicroseconds;
using hidlaudio::bench::pin;
using hidlaudio::bench::report;
using hidlaudio::bench::timed;

constexpr size_t kPiece = 256 * 1024;
constexpr size_t kHeader = 80;
constexpr size_t kAnswer = 40;
constexpr size_t kPieces = 12;  // per buffer: 3 MiB
constexpr int kTurns = 15;
constexpr int kOperations = 800;

/** Fills one buffer after the other. Measures only the calls of append(). */
class Filling {
  public:
    explicit Filling(IHeadphoneVirtualizer& service) : service_(service) {
        data_.setToExternal(memory_.data(), memory_.size());
    }

    double operator()() {
        if (filled_ == kPieces) {
            handle_ = service_.allocateParameterBuffer(ParamType::HRTF, kPieces * kPiece);
            filled_ = 0;
        }
        ++filled_;
        const double begin = nowMicroseconds();
        const int32_t result = service_.append(handle_, data_);
        const double end = nowMicroseconds();
        if (result != 0) die("append was refused");
        return end - begin;
    }

  private:
    IHeadphoneVirtualizer& service_;
    std::vector<uint8_t> memory_ = std::vector<uint8_t>(kPiece, 1);
    hidl_vec<uint8_t> data_;
    int32_t handle_ = 0;
    size_t filled_ = kPieces;
};

void measurePlacement(const char* placement, int clientProcessor, int serverProcessor, double wanted) {
    pin(clientProcessor);
    const Daemon daemon(serverProcessor);
    const auto service = IHeadphoneVirtualizer::getService();
    BareSocket bare(kHeader + kPiece, kAnswer, serverProcessor, kPieces);
    Filling filling(*service);
    report(std::string("append of 256 KiB / stream socket, ") + placement + ", us",
           compare([&] { return filling(); }, timed([&] { bare.exchange(); }), kTurns, kOperations), wanted);
}

}  // namespace

int main() {
    const hidlaudio::bench::BenchTv tv;
    hidlaudio::bench::reportColumns();
    // The two copies, into the shared memory and from there into the buffer, take 0.4 to 0.65 of the
    // exchange.
    measurePlacement("one core", 0, 0, 0.65);
    if (sysconf(_SC_NPROCESSORS_ONLN) > 1) measurePlacement("a core each", 0, 1, 0.7);
    return hidlaudio::bench::exitStatus();
}
