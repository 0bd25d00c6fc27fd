// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/hardware/audio/5.0/IPrimaryDevice.h>

namespace hidlaudio::host {

/** The primary device of the virtual TV. It only stores its parameters. */
class PrimaryDevice : public android::hardware::audio::V5_0::IPrimaryDevice {
    template <typename Type>
    using Values = android::hardware::hidl_vec<Type>;
    using ParameterValue = android::hardware::audio::V5_0::ParameterValue;
    using Result = android::hardware::audio::V5_0::Result;

  public:
    android::hardware::Return<void> getParameters(const Values<ParameterValue>& context,
                                                  const Values<android::hardware::hidl_string>& keys,
                                                  getParameters_cb callback) override;
    android::hardware::Return<Result> setParameters(const Values<ParameterValue>& context,
                                                    const Values<ParameterValue>& parameters) override;
};

}  // namespace hidlaudio::host
