// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <filesystem>
#include <span>

namespace tags {

/**
 * Checks that `tagged` is `original` with `picture` as its front cover, and that nothing else differs: the
 * other pictures and tags, and the sound, byte by byte. TagLib has to agree.
 * @throws util::Exception when something differs
 */
void verify(const std::filesystem::path& original, const std::filesystem::path& tagged,
            std::span<const std::byte> picture);

} // namespace tags
