// SPDX-License-Identifier: Apache-2.0
// A program that only loads the daemon's libraries. With an argument it waits, so that its memory can be
// measured.

#include <android/hidl/base/1.0/IBase.h>
#include <hardware_legacy/power.h>
#include <hidl/HidlTransportSupport.h>
#include <unistd.h>

#include "platform/soc_middleware.h"

int main(int argc, char**) {
    // Refers to a function of each library: otherwise the linker would drop it.
    volatile auto runtime = &android::hardware::configureRpcThreadpool;
    volatile auto middleware = &DRV_Init;
    volatile auto power = &acquire_wake_lock;
    if (argc > 1 && runtime != nullptr && middleware != nullptr && power != nullptr) pause();
    return 0;
}
