// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <optional>
#include <string>
#include <string_view>

namespace hidlaudio::host {

/**
 * The small files of the virtual TV: one number or a few words, and a newline.
 * Any thread and any process may call these at the same time: a reader sees the
 * old content or the new one, never a part.
 */

/** The largest value file that is read; more is a mistake of whoever wrote it. */
constexpr size_t kLargestValueFile = 65536;

/**
 * Reads the whole of a regular file of at most kLargestValueFile bytes. Returns 0,
 * or the errno of what failed (EFBIG, or as openRegularFile()); `content` is then
 * unchanged.
 */
int readValueFile(const std::string& path, std::string& content);

/**
 * Replaces a file, or makes it. A link in its place is replaced, too. Returns 0, or
 * the errno of what failed; the old content is then untouched. The new content has no
 * name while it is written, and a name that begins with a dot while it replaces a file.
 */
int writeValueFile(const std::string& path, const std::string& content);

/** The text as one decimal number, with white space around it allowed; else nothing. */
std::optional<int32_t> parseInt32(std::string_view text);
std::optional<uint32_t> parseUint32(std::string_view text);

/**
 * Whether `name` may name a value file: letters, digits, '_', '-' and '.', no dot
 * first, at most 128 characters. What passes cannot lead out of its folder.
 */
bool isValueName(std::string_view name);

}  // namespace hidlaudio::host
