// SPDX-License-Identifier: MIT
#pragma once

#include "tags/Formats.h"

#include <string>
#include <string_view>
#include <vector>

namespace tags::xiph {

/** A comment header as FLAC and all kinds of Ogg have it, its fields as they stand. */
struct Comment {
    std::string vendor;
    std::vector<std::string> fields; // NAME=value
    std::string rest;                // what follows the last field
};

/** @throws util::Exception when it is damaged */
[[nodiscard]] Comment parse(std::string_view bytes);

[[nodiscard]] std::string render(const Comment& comment);

/** Adds the comment's vendor and fields to `tags`. */
void collect(const Comment& comment, StoredTags& tags);

/** @return whether there was one */
bool removeFront(Comment& comment);

/** Puts the cover in the place of the front covers that are there, before all other pictures. */
void setFront(Comment& comment, const Cover& cover);

/** What is in a FLAC picture block, which is also what a comment's picture field holds in base64. */
[[nodiscard]] Picture pictureIn(std::string_view block);

[[nodiscard]] std::string pictureBlock(const Cover& cover);

} // namespace tags::xiph
