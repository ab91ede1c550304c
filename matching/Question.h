// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace matching {

/** The song to find a cover or an album for. Texts are UTF-8; unknown ones are empty. */
struct Question {
    std::string artist;
    std::string album;
    std::string title;
    bool sampler = false; // the album has many artists; `artist` is the song's
};

} // namespace matching
