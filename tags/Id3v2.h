// SPDX-License-Identifier: MIT
#pragma once

#include "tags/Formats.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tags::id3v2 {

/**
 * An ID3v2 tag as a list of undecoded frames. Decoding and encoding them again would lose frames that only
 * other programs understand, and would turn version 2.2 into another version.
 */
struct Tag {
    unsigned version = 3; // 2, 3 or 4; new tags get 3: every player reads it
    std::vector<std::string> frames;
};

/** The length of the tag at `at`, with header and footer; 0 if there is none. */
[[nodiscard]] std::uint64_t lengthAt(const SongFile& file, std::uint64_t at);

/**
 * The end of all tags at the start of the file. There may be several, because some programs put a new tag
 * before the old ones. Players read the first.
 */
[[nodiscard]] std::uint64_t endOfTags(const SongFile& file);

/** @throws util::Exception when the tag is damaged or of an unknown version */
[[nodiscard]] Tag parse(std::string_view bytes);

/** A text or comment frame of version 2.3. */
[[nodiscard]] std::string textFrame(std::string_view id, std::string_view utf8);

/** Adds the tag's frames to `tags`. */
void collect(const Tag& tag, StoredTags& tags);

/** @return whether there was one */
bool removeFront(Tag& tag);

/** Replaces all front covers by `cover`, and puts it before all other pictures. */
void setFront(Tag& tag, const Cover& cover);

/** The size in bytes, without padding. */
[[nodiscard]] std::size_t sizeOf(const Tag& tag);

[[nodiscard]] std::string render(const Tag& tag, std::size_t padding);

} // namespace tags::id3v2
