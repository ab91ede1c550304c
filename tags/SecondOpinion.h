// SPDX-License-Identifier: MIT
#pragma once

#include "tags/Container.h"

#include <filesystem>
#include <string_view>

namespace tags {

/**
 * Reads both files with TagLib, which shares no code with the program that wrote `tagged`. TagLib must find
 * `picture` as the front cover, and the tags and sound properties of `original`. Both files must have been
 * found complete before.
 * @throws util::Exception when TagLib finds anything else
 */
void secondOpinion(const std::filesystem::path& original, const std::filesystem::path& tagged,
                   Container container, std::string_view picture);

} // namespace tags
