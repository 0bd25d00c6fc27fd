// SPDX-License-Identifier: Apache-2.0
#include <stdio.h>
#include <string.h>

#include <charconv>
#include <optional>
#include <string>

#include "host/program/terminal.h"
#include "host/tv/commands.h"
#include "host/tv/state/eeprom_image.h"
#include "host/tv/state/tv_folder.h"
#include "host/tv_files/regular_file.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::host {
namespace {

/**
 * Parses a number from 0 to `largest`, decimal or with prefix 0x. Returns `std::nullopt` for any other text.
 */
std::optional<uint32_t> parseNumber(const std::string& text, uint32_t largest) {
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const char* const end = text.data() + text.size();
    uint32_t number = 0;
    const auto [stopped, error] = std::from_chars(text.data() + (hex ? 2 : 0), end, number, hex ? 16 : 10);
    if (error != std::errc() || stopped != end || number > largest) return std::nullopt;
    return number;
}

int failAt(uint32_t address, int error) {
    char at[32];
    snprintf(at, sizeof(at), " at address 0x%X", address);
    return fail(fileError(tvRoot() + "/soc/eeprom.bin", error) + at);
}

int print(uint32_t address) {
    uint8_t byte = 0;
    if (const int error = readEeprom(address, byte); error != 0) return failAt(address, error);
    printf("0x%02X\n", byte);
    return kDone;
}

int write(uint32_t address, const std::string& text) {
    const std::optional<uint32_t> byte = parseNumber(text, UINT8_MAX);
    if (!byte) return fail("\"" + text + "\" is not a byte: 0 to 255, or 0x0 to 0xFF", kWrongUsage);
    const int error = writeEeprom(address, static_cast<uint8_t>(*byte));
    return error == 0 ? kDone : failAt(address, error);
}

int eeprom(const std::string& text, const std::optional<std::string>& byte) {
    if (!openTv()) return kWrongUsage;
    const std::optional<uint32_t> address = parseNumber(text, kEepromSize - 1);
    if (!address)
        return fail("\"" + text + "\" is not an address: 0 to 131071, or 0x0 to 0x1FFFF", kWrongUsage);
    return byte ? write(*address, *byte) : print(*address);
}

std::string namedBytes() {
    std::string text;
    for (const EepromByte& byte : kEepromBytes) {
        char line[64];
        snprintf(line, sizeof(line), "\n  0x%X  %s", byte.address, byte.name);
        text += line;
    }
    return text;
}

}  // namespace

void addEeprom(CLI::App& app, int& status) {
    static_assert(kEepromSize == 0x20000, "the messages name the range");
    CLI::App* command = app.add_subcommand("eeprom", "Read or write a byte of the EEPROM");
    command->footer(
        "Prints the byte if BYTE is not given. Numbers are decimal, or hexadecimal with the prefix 0x. The\n"
        "daemon reads the EEPROM when it starts. The image is the file soc/eeprom.bin. To make a read fail,\n"
        "delete or truncate the image.\n"
        "\n"
        "Bytes that the daemon reads:" +
        namedBytes() +
        "\n\nExit status:\n"
        "  1  the byte cannot be read or written\n"
        "  2  the arguments are wrong, or the folder is not a TV\n"
        "\n"
        "Examples:\n"
        "  tv eeprom 0x10089\n"
        "  tv eeprom 0x10116 0   # the center speaker input cannot run synchronized");
    const CLI::Option* address = addText(command, "ADDRESS", "Address of the byte, 0 to 0x1FFFF")->required();
    const CLI::Option* byte =
        addText(command, "BYTE", "Value to write, 0 to 0xFF (default: print the stored byte)");
    command->callback([address, byte, &status] { status = eeprom(*given(address), given(byte)); });
}

}  // namespace hidlaudio::host
