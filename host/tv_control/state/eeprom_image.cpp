// SPDX-License-Identifier: Apache-2.0
#include "eeprom_image.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include "host/tv_files/regular_file.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::host {
namespace {

int openImage(int flags) {
    return openRegularFile(tvRoot() + "/soc/eeprom.bin", flags);
}

/** Closes the descriptor. Returns the result of a transfer of one byte: 0, or an errno. */
int finish(int fd, ssize_t count) {
    const int error = count == 1 ? 0 : count == 0 ? ENODATA : errno;
    return close(fd) == 0 || error != 0 ? error : errno;
}

}  // namespace

int readEeprom(uint32_t address, uint8_t& byte) {
    const int fd = openImage(O_RDONLY);
    return fd < 0 ? errno : finish(fd, pread(fd, &byte, 1, static_cast<off_t>(address)));
}

int writeEeprom(uint32_t address, uint8_t byte) {
    const int fd = openImage(O_WRONLY | O_CREAT);
    return fd < 0 ? errno : finish(fd, pwrite(fd, &byte, 1, static_cast<off_t>(address)));
}

int makeEeprom(bool backEnd, bool centreInput) {
    int error = writeEeprom(kEepromSize - 1, 0);
    for (const EepromByte& byte : kEepromBytes) {
        if (error != 0) return error;
        const bool other = byte.centre ? centreInput : backEnd;
        error = writeEeprom(byte.address, other ? byte.otherValue : byte.factoryValue);
    }
    return error;
}

}  // namespace hidlaudio::host
