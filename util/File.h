// SPDX-License-Identifier: MIT
#pragma once

#include "util/Buffer.h"

#include <cstddef>
#include <span>
#include <string_view>

namespace util {

/**
 * The whole of a regular file; anything else, a FIFO say, is refused and not waited for.
 * @throws util::Exception when it can't be read or has more than `maxBytes`
 */
[[nodiscard]] Buffer readFile(const char* path, std::size_t maxBytes);

/** How the names of unfinished files begin: what a killed writer left behind is known by it. */
inline constexpr std::string_view temporaryPrefix = ".sleevery-";

/**
 * Writes `bytes` to disk beside `path` and renames that file to `path`, so that there is the old file or the
 * whole new one at any moment.
 * @throws util::Exception when that fails; the old file is still there, then, and no part of the new one
 */
void replaceFile(const char* path, std::span<const std::byte> bytes);

} // namespace util
