// SPDX-License-Identifier: Apache-2.0
// What a program costs that only has the daemon's libraries loaded. With an argument
// it waits to be looked at.

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlTransportSupport.h>
#include <unistd.h>

int main(int argc, char**) {
    // Names a function of the runtime, or the linker would leave the library out.
    volatile auto runtime = &android::hardware::configureRpcThreadpool;
    if (argc > 1 && runtime != nullptr) pause();
    return 0;
}
