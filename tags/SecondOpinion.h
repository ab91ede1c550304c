// SPDX-License-Identifier: MIT
#pragma once

#include "tags/Container.h"

#include <filesystem>
#include <string_view>

namespace tags {

/**
 * What TagLib, which knows nothing of the code that wrote `tagged`, makes of it: `picture` is the front
 * cover, and the tags and the properties of the sound are those of `original`. Both files have been found
 * whole before.
 * @throws util::Exception when it doesn't see that
 */
void secondOpinion(const std::filesystem::path& original, const std::filesystem::path& tagged,
                   Container container, std::string_view picture);

} // namespace tags
