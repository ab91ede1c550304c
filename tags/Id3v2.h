// SPDX-License-Identifier: MIT
#pragma once

#include "tags/Formats.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tags::id3v2 {

/**
 * An ID3v2 tag as a list of frames that nobody has looked into. Frames are kept as they are: decoding and
 * encoding them again would lose those that only other programs understand, and turn version 2.2 into
 * another.
 */
struct Tag {
    unsigned version = 3; // 2, 3 or 4; what is new gets 3, which every player reads
    std::vector<std::string> frames;
};

/** The length of the tag at `at`, header and footer included; 0 where there is none. */
[[nodiscard]] std::uint64_t lengthAt(const SongFile& file, std::uint64_t at);

/** Where the sound can begin: some programs put a new tag before the old ones. Players read the first. */
[[nodiscard]] std::uint64_t endOfTags(const SongFile& file);

/** @throws util::Exception when it is damaged or of an unknown version */
[[nodiscard]] Tag parse(std::string_view bytes);

/** A text or comment frame of version 2.3. */
[[nodiscard]] std::string textFrame(std::string_view id, std::string_view utf8);

/** Adds the tag's frames to `tags`. */
void collect(const Tag& tag, StoredTags& tags);

/** @return whether there was one */
bool removeFront(Tag& tag);

/** Puts the cover in the place of the front covers that are there, before all other pictures. */
void setFront(Tag& tag, const Cover& cover);

/** The tag's size without padding. */
[[nodiscard]] std::size_t sizeOf(const Tag& tag);

[[nodiscard]] std::string render(const Tag& tag, std::size_t padding);

} // namespace tags::id3v2
