// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace matching {

enum class ReleaseKind { Unknown, Album, Single, Live, Soundtrack, Compilation, Other };
enum class ReleaseStatus { Unknown, Official, Promotion, Bootleg };

/**
 * An album as one source knows it; it may be the wanted one. Texts are UTF-8. Unknown fields are empty or 0.
 */
struct Candidate {
    std::string source; // the name of the source
    std::string artist; // of the album, as credited; "Various Artists" for most samplers
    std::string album;
    std::string title;       // of the matching track
    std::string trackArtist; // of that track; may differ from the album's artist
    ReleaseKind kind = ReleaseKind::Unknown;
    ReleaseStatus status = ReleaseStatus::Unknown;
    std::string date;      // "2004", "2004-05" or "2004-05-17"
    std::string releaseId; // in the source's own numbering
    std::string groupId;   // MusicBrainz release group
    std::string page;      // web page about the album
    std::string pictureUrl;
    std::string thumbnailUrl;
    int widthPixels = 0; // of the picture
    int heightPixels = 0;

    bool operator==(const Candidate&) const = default;
};

} // namespace matching
