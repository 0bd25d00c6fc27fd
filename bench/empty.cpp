// SPDX-License-Identifier: Apache-2.0
// A program that only loads the daemon's libraries. With an argument it waits, so that its memory can be
// measured.

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlTransportSupport.h>
#include <unistd.h>

int main(int argc, char**) {
    // Refers to a function of the runtime: otherwise the linker would drop the library.
    volatile auto runtime = &android::hardware::configureRpcThreadpool;
    if (argc > 1 && runtime != nullptr) pause();
    return 0;
}
