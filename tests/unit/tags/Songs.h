// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tests {

/** The kinds of song file to test: "mp3", "faststart" (an MP4 with its index at the start) ... */
[[nodiscard]] std::vector<std::string> songKinds();

/** Makes a song of half a second without tags. @return its path */
[[nodiscard]] std::filesystem::path makeSong(const std::string& kind, const std::filesystem::path& folder);

/** The pictures that addTags() writes. */
struct TagPictures {
    std::string front; // written twice, if the format allows it
    std::string back;
    std::string mime = "image/png";
};

/**
 * Writes usual and unusual tags and pictures into a song. Uses other libraries, so that the tests don't
 * depend on the code under test.
 * @param id3v2Version 3 or 4, for formats with such a tag
 */
void addTags(const std::filesystem::path& song, const std::string& kind, const TagPictures& pictures,
             int id3v2Version);

/** The MD5 of the decoded sound. */
[[nodiscard]] std::string soundOf(const std::filesystem::path& song);

/** The texts of the tags, read by another program. */
[[nodiscard]] std::string textsOf(const std::filesystem::path& song);

/** The bytes of the first picture, read by another program. */
[[nodiscard]] std::string firstPictureOf(const std::filesystem::path& song);

/** The number of pictures that another program finds. */
[[nodiscard]] std::size_t pictureCountOf(const std::filesystem::path& song);

[[nodiscard]] std::string fileBytes(const std::filesystem::path& path);

void writeFile(const std::filesystem::path& path, const std::string& bytes);

} // namespace tests
