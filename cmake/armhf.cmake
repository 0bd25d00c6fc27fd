# SPDX-License-Identifier: Apache-2.0
# Debian's cross compiler for 32-bit ARM, which finds Debian's armhf libraries beside the
# native ones, and the emulator in which the programs run while building and testing.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/bin/qemu-arm-static)
