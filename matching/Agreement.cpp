// SPDX-License-Identifier: MIT
#include "matching/Agreement.h"

#include "matching/Similarity.h"
#include "text/Fold.h"
#include "text/StopWords.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

namespace matching {

namespace {

// Factors that lower the agreement. docs/matching.md gives the reasons for their values.
constexpr double onlyTrackArtist = 0.8; // the album is by others
constexpr double onlyOneOfArtists = 0.75;
constexpr double unknownArtist = 0.75;
constexpr double artistInOtherScript = 0.6;
constexpr double unknownSamplerArtist = 0.45;
constexpr double unknownTitle = 0.45;
constexpr double unknownAlbumTrack = 0.95; // a title known to be on the album ranks higher
constexpr double artistInAlbumName = 0.97;
constexpr double titleShare = 0.2;         // if the album is known
constexpr double samplerArtistShare = 0.5; // if the album is known
constexpr double agreeing = 0.9;

/** The first of several artists; the whole text if there is only one. */
std::string_view firstArtist(std::string_view artists) {
    std::size_t end = artists.size();
    for (const std::string_view separator :
         {" & ", " and ", " with ", " vs", " x ", " / ", "; ", ", ", "/", ";"})
        end = std::min(end, artists.find(separator));
    return artists.substr(0, end == 0 ? artists.size() : end);
}

double artistLikeness(std::string_view one, std::string_view other) {
    const double whole = similarity(one, other);
    const std::string_view first = firstArtist(one);
    const std::string_view otherFirst = firstArtist(other);
    if (first.size() == one.size() && otherFirst.size() == other.size()) return whole;
    const double ofOne = std::max(similarity(first, other), similarity(one, otherFirst));
    return std::max(whole, ofOne >= agreeing ? onlyOneOfArtists * ofOne : 0);
}

/** A name may be neither Latin nor in another script: "1984". */
bool isLatin(std::string_view folded) {
    return std::ranges::any_of(folded, [](char byte) { return byte >= 'a' && byte <= 'z'; });
}

bool isInOtherScript(std::string_view folded) {
    return !isLatin(folded) && std::ranges::any_of(folded, [](char byte) { return (byte & 0x80) != 0; });
}

/**
 * "Maria Svetlova" can't be compared with "Мария Светлова", but a service that knows both names may be right.
 */
bool areInTwoScripts(std::string_view artist, std::string_view other) {
    const std::string one = text::folded(artist);
    const std::string two = text::folded(other);
    return (isLatin(one) && isInOtherScript(two)) || (isInOtherScript(one) && isLatin(two));
}

/** The rest of the album's name if it begins with the artist, else empty. */
std::string behindArtist(std::string_view album, std::string_view artist) {
    const std::string name = text::matchText(album);
    const std::string begin = text::matchText(artist) + " ";
    return begin.size() > 1 && name.starts_with(begin) ? name.substr(begin.size()) : std::string();
}

/**
 * Some names begin with the artist, as file names do: "Lowbeam - Paper Lanterns". Such a name is almost as
 * good as the album's name alone.
 */
double albumLikeness(const Wanted& wanted, const Candidate& candidate) {
    const double whole = similarity(wanted.album, candidate.album);
    if (whole >= agreeing || wanted.artist.empty()) return whole;
    const double ofWanted = similarity(behindArtist(wanted.album, wanted.artist), candidate.album);
    const double ofCandidate = similarity(wanted.album, behindArtist(candidate.album, wanted.artist));
    return std::max(whole, artistInAlbumName * std::max(ofWanted, ofCandidate));
}

/**
 * For a sampler, compares with the track's artist only. Otherwise takes the better one of the track's and the
 * album's artist.
 */
void compareArtists(Agreement& agreement, const Wanted& wanted, const Candidate& candidate) {
    if (wanted.artist.empty()) return;
    const bool various = isVarious(candidate.artist);
    const std::string& trackArtist = candidate.trackArtist.empty() && !various && !candidate.title.empty()
                                         ? candidate.artist
                                         : candidate.trackArtist;
    if (!trackArtist.empty()) agreement.artist = artistLikeness(wanted.artist, trackArtist);
    if (wanted.sampler) return;
    agreement.byTrackArtist = agreement.artist.has_value();
    if (candidate.artist.empty() || various) return;
    const double ofAlbum = artistLikeness(wanted.artist, candidate.artist);
    if (agreement.artist && onlyTrackArtist * *agreement.artist > ofAlbum) return;
    agreement.artist = ofAlbum;
    agreement.byTrackArtist = false;
}

double artistFactor(const Agreement& agreement, const Wanted& wanted, const Candidate& candidate) {
    if (wanted.artist.empty()) return 1;
    if (wanted.sampler && !wanted.album.empty())
        return 1 - samplerArtistShare * (1 - agreement.artist.value_or(1));
    if (agreement.inOtherScript) return artistInOtherScript;
    if (agreement.artist) return *agreement.artist * (agreement.byTrackArtist ? onlyTrackArtist : 1);
    return isVarious(candidate.artist) ? unknownSamplerArtist : unknownArtist;
}

} // namespace

Agreement compare(const Wanted& wanted, const Candidate& candidate) {
    Agreement agreement;
    const std::string& credited = isVarious(candidate.artist) ? candidate.trackArtist : candidate.artist;
    agreement.inOtherScript = areInTwoScripts(wanted.artist, credited);
    if (!agreement.inOtherScript) compareArtists(agreement, wanted, candidate);
    if (!wanted.album.empty()) agreement.album = albumLikeness(wanted, candidate);
    if (!wanted.title.empty() && !candidate.title.empty())
        agreement.title = similarity(wanted.title, candidate.title);
    agreement.total = artistFactor(agreement, wanted, candidate);
    if (agreement.album) {
        agreement.total *= *agreement.album;
        agreement.total *= 1 - titleShare * (1 - agreement.title.value_or(unknownAlbumTrack));
    } else if (!wanted.title.empty()) {
        agreement.total *= agreement.title.value_or(unknownTitle);
    }
    const bool nothingAsked = wanted.artist.empty() && wanted.album.empty() && wanted.title.empty();
    if (nothingAsked) agreement.total = 0;
    return agreement;
}

} // namespace matching
