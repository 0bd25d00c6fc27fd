// SPDX-License-Identifier: Apache-2.0
#include <android-base/stringprintf.h>
#include <stdio.h>

#include <optional>
#include <string>

#include "host/program/terminal.h"
#include "host/tv/commands.h"
#include "host/tv_control/state/eeprom_image.h"
#include "host/tv_control/state/tv_folder.h"
#include "host/tv_files/regular_file.h"
#include "host/tv_files/tv_root.h"
#include "host/tv_files/value_file.h"

namespace hidlaudio::host {
namespace {

using android::base::StringPrintf;

int failAt(uint32_t address, int error) {
    return fail(fileError(tvRoot() + "/soc/eeprom.bin", error) + StringPrintf(" at address 0x%X", address));
}

int print(uint32_t address) {
    uint8_t byte = 0;
    if (const int error = readEeprom(address, byte); error != 0) return failAt(address, error);
    printf("0x%02X\n", byte);
    return kDone;
}

int write(uint32_t address, const std::string& text) {
    const std::optional<uint32_t> byte = parseHexOrDecimal(text);
    if (!byte || *byte > UINT8_MAX)
        return fail("\"" + text + "\" is not a byte: 0 to 255, or 0x0 to 0xFF", kWrongUsage);
    const int error = writeEeprom(address, static_cast<uint8_t>(*byte));
    return error == 0 ? kDone : failAt(address, error);
}

int eeprom(const std::string& text, const std::optional<std::string>& byte) {
    if (!openTv()) return kWrongUsage;
    const std::optional<uint32_t> address = parseHexOrDecimal(text);
    if (!address || *address >= kEepromSize)
        return fail("\"" + text + "\" is not an address: 0 to 131071, or 0x0 to 0x1FFFF", kWrongUsage);
    return byte ? write(*address, *byte) : print(*address);
}

std::string namedBytes() {
    std::string text;
    for (const EepromByte& byte : kEepromBytes) text += StringPrintf("\n  0x%X  %s", byte.address, byte.name);
    return text;
}

}  // namespace

void addEeprom(Command app, int& status) {
    static_assert(kEepromSize == 0x20000, "the messages name the range");
    const Command command = app.addCommand("eeprom", "Read or write a byte of the EEPROM");
    command.setHelp(
        "Prints the byte if BYTE is not given. Numbers are decimal, or hexadecimal with the prefix 0x. The\n"
        "daemon reads the EEPROM when it starts. The image is the file soc/eeprom.bin. To make a read fail,\n"
        "delete or truncate the image.\n"
        "\n"
        "Bytes that the daemon reads:" +
            namedBytes(),
        {"1  the byte cannot be read or written", kNeedsTv},
        {"tv eeprom 0x10089", "tv eeprom 0x10116 0   # the center speaker input cannot run synchronized"});
    const Option address = command.argument("ADDRESS", "Address of the byte, 0 to 0x1FFFF").required();
    const Option byte =
        command.argument("BYTE", "Value to write, 0 to 0xFF (default: print the stored byte)");
    command.onRun([address, byte, &status] { status = eeprom(*address.given(), byte.given()); });
}

}  // namespace hidlaudio::host
