// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace matching {

/** The song whose cover or album is sought, in UTF-8; what isn't known is empty. */
struct Question {
    std::string artist;
    std::string album;
    std::string title;
    bool sampler = false; // the artist is the song's, and the album is one of many artists
};

} // namespace matching
