// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

namespace tags {

/**
 * The song file `song`, of which a relative name is taken below `musicFolder`, with all links resolved.
 * @throws util::Exception when there is no regular file, or it isn't below `musicFolder`: only what is may be
 * touched, and nothing where that is empty
 */
[[nodiscard]] std::filesystem::path songIn(const std::filesystem::path& musicFolder,
                                           const std::filesystem::path& song);

/** Its folder, which may be another one than that of the file that a link leads to. @throws util::Exception
 * likewise */
[[nodiscard]] std::filesystem::path folderOf(const std::filesystem::path& musicFolder,
                                             const std::filesystem::path& song);

} // namespace tags
