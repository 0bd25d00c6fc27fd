# SPDX-License-Identifier: Apache-2.0
# Debian's cross compiler for 32-bit ARM, which uses Debian's armhf libraries, and the emulator that runs
# the programs during build and test.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/bin/qemu-arm-static)
