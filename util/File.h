// SPDX-License-Identifier: MIT
#pragma once

#include "util/Buffer.h"

#include <cstddef>
#include <span>
#include <string_view>

namespace util {

/**
 * Reads a whole regular file. Refuses any other kind, and never waits for data, for example on a FIFO.
 * @throws util::Exception when the file is not regular, can't be read or is larger than `maxBytes`
 */
[[nodiscard]] Buffer readFile(const char* path, std::size_t maxBytes);

/** The names of unfinished files start with this, so that files left by a killed writer can be found. */
inline constexpr std::string_view temporaryPrefix = ".sleevery-";

/**
 * Replaces the file `path` atomically: writes `bytes` to a new file beside it, syncs that to disk and renames
 * it to `path`.
 * @throws util::Exception when that fails; the old file is then unchanged and the new one removed
 */
void replaceFile(const char* path, std::span<const std::byte> bytes);

} // namespace util
