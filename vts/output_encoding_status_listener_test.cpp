// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/dtv/hardware/audio/3.1/IOutputEncodingStatusListener.h>

#include "support/results.h"

namespace tovi_audio_vts {
namespace {

using namespace ::com::tovi::dtv::hardware::audio;

class EncodingStatusListener
    : public ::testing::TestWithParam<Instance<V2_0::IOutputEncodingStatusListener>> {
  protected:
    void SetUp() override {
        service_ = GetParam().get(GetParam().name);
        ASSERT_NE(service_, nullptr);
    }

    sp<V2_0::IOutputEncodingStatusListener> service_;
};

TEST_P(EncodingStatusListener, onForceEncodingChanged_ReturnsForBothValues) {
    expectOk(service_->onForceEncodingChanged(true));
    expectOk(service_->onForceEncodingChanged(false));
}

TEST_P(EncodingStatusListener, onEncodingFormatChanged_ReturnsForAllFormats) {
    for (const std::string& format :
         {std::string("auto"), std::string(), std::string("%s%n"), std::string(9000, 'x')}) {
        expectOk(service_->onEncodingFormatChanged(format));
    }
}

INSTANTIATE(IOutputEncodingStatusListener, EncodingStatusListener, V2_0::IOutputEncodingStatusListener,
            V3_1::IOutputEncodingStatusListener);

}  // namespace
}  // namespace tovi_audio_vts
