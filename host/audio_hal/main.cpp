// SPDX-License-Identifier: Apache-2.0
#include <android/log.h>
#include <hidl/HidlTransportSupport.h>

#include "devices_factory.h"
#include "log.h"

/** Serves the primary audio HAL of the virtual TV until the process is killed. */
int main() {
    using namespace hidlaudio::host;
    android::hardware::configureRpcThreadpool(1, true);
    const android::sp<DevicesFactory> factory = new DevicesFactory;
    if (factory->registerAsService("default") != android::OK) {
        __android_log_write(ANDROID_LOG_ERROR, kLogTag, "the devices factory cannot be registered");
        return 1;
    }
    android::hardware::joinRpcThreadpool();
    return 1;
}
