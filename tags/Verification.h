// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <filesystem>
#include <span>

namespace tags {

/**
 * Proves that `tagged` is `original` with `picture` as its front cover and that nothing else is different:
 * the other pictures and tags and everything that makes the sound, byte by byte. A second library has to see
 * the same.
 * @throws util::Exception when it isn't so
 */
void verify(const std::filesystem::path& original, const std::filesystem::path& tagged,
            std::span<const std::byte> picture);

} // namespace tags
