// SPDX-License-Identifier: Apache-2.0
#include <hidl/HidlTransportSupport.h>
#include <log/log.h>

#include "devices_factory.h"

/** Serves the primary audio HAL of the virtual TV until the process is killed. */
int main() {
    using namespace hidlaudio::host;
    android::hardware::configureRpcThreadpool(1, true);
    const android::sp<DevicesFactory> factory = new DevicesFactory;
    if (factory->registerAsService("default") != android::OK) {
        ALOGE("the devices factory cannot be registered");
        return 1;
    }
    android::hardware::joinRpcThreadpool();
    return 1;
}
