// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace matching {

enum class ReleaseKind { Unknown, Album, Single, Live, Soundtrack, Compilation, Other };
enum class ReleaseStatus { Unknown, Official, Promotion, Bootleg };

/** An album that may be the one that is sought, as one source knows it. Texts are UTF-8; what the source
 * doesn't say is empty, or 0. */
struct Candidate {
    std::string source; // the name of the source that found it
    std::string artist; // of the album, as credited: "Various Artists" for many a sampler
    std::string album;
    std::string title;       // of the track that matched
    std::string trackArtist; // of that track, where it may be another than the album's
    ReleaseKind kind = ReleaseKind::Unknown;
    ReleaseStatus status = ReleaseStatus::Unknown;
    std::string date;      // "2004", "2004-05" or "2004-05-17"
    std::string releaseId; // the source's own
    std::string groupId;   // a MusicBrainz release group
    std::string page;      // for people
    std::string pictureUrl;
    std::string thumbnailUrl;
    int widthPixels = 0; // of the picture
    int heightPixels = 0;

    bool operator==(const Candidate&) const = default;
};

} // namespace matching
