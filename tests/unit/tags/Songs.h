// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tests {

/** The kinds of song file that there are tests with; "mp3", "faststart" (an MP4 with its index in front) ...
 */
[[nodiscard]] std::vector<std::string> songKinds();

/** Makes a song of half a second, without tags of ours. */
[[nodiscard]] std::filesystem::path makeSong(const std::string& kind, const std::filesystem::path& folder);

/** What `addTags` puts into a song besides texts. */
struct TagPictures {
    std::string front; // twice, where the format allows it
    std::string back;
    std::string mime = "image/png";
};

/**
 * Writes tags into a song, with a library that knows nothing of ours: usual ones, unusual ones, and pictures.
 * @param id3v2Version 3 or 4, where the format has such a tag
 */
void addTags(const std::filesystem::path& song, const std::string& kind, const TagPictures& pictures,
             int id3v2Version);

/** The sound's MD5, decoded. */
[[nodiscard]] std::string soundOf(const std::filesystem::path& song);

/** The texts of the tags, as another program reads them. */
[[nodiscard]] std::string textsOf(const std::filesystem::path& song);

/** The first picture's bytes, as another program reads them. */
[[nodiscard]] std::string firstPictureOf(const std::filesystem::path& song);

/** How many pictures another program finds. */
[[nodiscard]] std::size_t pictureCountOf(const std::filesystem::path& song);

[[nodiscard]] std::string fileBytes(const std::filesystem::path& path);

void writeFile(const std::filesystem::path& path, const std::string& bytes);

} // namespace tests
