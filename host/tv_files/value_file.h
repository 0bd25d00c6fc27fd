// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <optional>
#include <string>
#include <string_view>

namespace hidlaudio::host {

/**
 * The small files of the virtual TV, which hold one number or a few words, and a newline. All functions may
 * be called from any thread and any process at the same time. A reader gets the old content or the new
 * content, never a part.
 */

/** Maximum size of a value file in bytes. Larger files are refused as damaged. */
constexpr size_t kLargestValueFile = 65536;

/**
 * Reads a regular file. Returns 0, or an errno with `content` unchanged: EFBIG if the file is larger than
 * kLargestValueFile, the errors of openRegularFile(), or those of read(2).
 */
int readValueFile(const std::string& path, std::string& content);

/**
 * Replaces or creates a file. If `path` is a link, the link itself is replaced. Returns 0, or an errno with
 * the old content unchanged. A file that has this content already is not touched. The new content is written
 * to a file without a name, if the file system supports that. To replace an existing file, it briefly has a
 * name that begins with a dot.
 */
int writeValueFile(const std::string& path, const std::string& content);

/** Parse a decimal number; white space around it is allowed. Return `std::nullopt` for any other text. */
std::optional<int32_t> parseInt32(std::string_view text);
std::optional<uint32_t> parseUint32(std::string_view text);

/** Parses a decimal number, or a hexadecimal one with the prefix 0x, without white space around it. */
std::optional<uint32_t> parseHexOrDecimal(std::string_view text);

/**
 * Returns whether `name` is a valid name of a value file: 1 to 128 letters, digits, '_', '-' and '.', with no
 * dot first. A path that ends in a valid name cannot lead out of its folder.
 */
bool isValueName(std::string_view name);

}  // namespace hidlaudio::host
