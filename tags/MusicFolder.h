// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

namespace tags {

/**
 * The path of the song file with all links resolved. A relative `song` is taken below `musicFolder`.
 * @throws util::Exception when it isn't a regular file below `musicFolder`, or `musicFolder` is empty. Only
 * files below that folder may be touched.
 */
[[nodiscard]] std::filesystem::path songIn(const std::filesystem::path& musicFolder,
                                           const std::filesystem::path& song);

/**
 * The folder of `song`, with its links resolved. If `song` is a link, this is the folder of the link, not of
 * its target.
 * @throws util::Exception as songIn() does
 */
[[nodiscard]] std::filesystem::path folderOf(const std::filesystem::path& musicFolder,
                                             const std::filesystem::path& song);

} // namespace tags
