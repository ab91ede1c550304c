// SPDX-License-Identifier: MIT
#pragma once

#include "tags/Formats.h"

#include <string>
#include <string_view>
#include <vector>

namespace tags::xiph {

/** A comment header, as used in FLAC and in every kind of Ogg. Its fields are kept as stored. */
struct Comment {
    std::string vendor;
    std::vector<std::string> fields; // NAME=value
    std::string rest;                // the bytes after the last field
};

/** @throws util::Exception when the header is damaged */
[[nodiscard]] Comment parse(std::string_view bytes);

[[nodiscard]] std::string render(const Comment& comment);

/** Adds the comment's vendor and fields to `tags`. */
void collect(const Comment& comment, StoredTags& tags);

/** @return whether there was one */
bool removeFront(Comment& comment);

/** Replaces all front covers by `cover`, and puts it before all other pictures. */
void setFront(Comment& comment, const Cover& cover);

/** The picture in a FLAC picture block. A comment's picture field holds such a block in Base64. */
[[nodiscard]] Picture pictureIn(std::string_view block);

[[nodiscard]] std::string pictureBlock(const Cover& cover);

} // namespace tags::xiph
