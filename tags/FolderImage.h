// SPDX-License-Identifier: MIT
#pragma once

#include "image/ImageContent.h"
#include "util/Buffer.h"

#include <cstddef>
#include <filesystem>

/** The picture beside the song files of an album, which players find by its name. */
namespace tags {

/** Beside the song file `song`, whether it is there or not. */
[[nodiscard]] std::filesystem::path folderImage(const std::filesystem::path& song);

/**
 * True where there is one, however its name is capitalised.
 * @throws util::Exception where the song file is not below `musicFolder`, with all links resolved
 */
[[nodiscard]] bool hasFolderImage(const std::filesystem::path& song,
                                  const std::filesystem::path& musicFolder);

/**
 * The picture beside the song file that shows the front: folder.jpg, or else cover or front, JPEG or PNG,
 * however capitalised. Empty where there is none.
 * @throws util::Exception as above, and when it is larger than `maxBytes`
 */
[[nodiscard]] util::Buffer readFolderImage(const std::filesystem::path& song,
                                           const std::filesystem::path& musicFolder, std::size_t maxBytes);

/**
 * Writes one, over the one that is there.
 * @throws util::Exception where that fails or the song file is not below `musicFolder`
 */
void writeFolderImage(const std::filesystem::path& song, const std::filesystem::path& musicFolder,
                      const image::ReceivedImage& image);

} // namespace tags
