// SPDX-License-Identifier: MIT
#pragma once

#include "image/ImageContent.h"
#include "util/Buffer.h"

#include <cstddef>
#include <filesystem>

/** The picture in an album's folder, next to the song files. Players find it by its name. */
namespace tags {

/** The path next to `song`; the file may be missing. */
[[nodiscard]] std::filesystem::path folderImage(const std::filesystem::path& song);

/**
 * Whether the folder image exists, in any case of its name.
 * @throws util::Exception when `song` is not below `musicFolder`, with all links resolved
 */
[[nodiscard]] bool hasFolderImage(const std::filesystem::path& song,
                                  const std::filesystem::path& musicFolder);

/**
 * The front cover in the folder of `song`: a JPEG or PNG named folder, cover or front, in any case. Of
 * several, the most usual name wins. Empty if there is none.
 * @throws util::Exception as above, and when it is larger than `maxBytes`
 */
[[nodiscard]] util::Buffer readFolderImage(const std::filesystem::path& song,
                                           const std::filesystem::path& musicFolder, std::size_t maxBytes);

/**
 * Writes the folder image; replaces an existing one.
 * @throws util::Exception when that fails, or `song` is not below `musicFolder`
 */
void writeFolderImage(const std::filesystem::path& song, const std::filesystem::path& musicFolder,
                      const image::ReceivedImage& image);

} // namespace tags
