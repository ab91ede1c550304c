// SPDX-License-Identifier: MIT
#include "bridge/Song.h"

#include "bridge/Failure.h"
#include "bridge/Numbers.h"

#include <climits>

namespace bridge {
namespace {

/** The first of several values stands. */
void setOnce(std::string& field, std::string_view value) {
    if (field.empty()) field = value;
}

/** Of "3/12" the 3. */
std::optional<int> countOf(std::string_view value) {
    const LeadingNumber number = leadingNumber(value);
    const bool alone = number.length == value.size() || value[number.length] == '/';
    return number.length > 0 && alone ? std::optional(number.value) : std::nullopt;
}

/** Whole seconds, from a number with or without places behind the point. */
std::optional<int> rounded(std::string_view value) {
    const LeadingNumber whole = leadingNumber(value);
    if (whole.length == 0) return std::nullopt;
    const std::string_view rest = value.substr(whole.length);
    const bool up = rest.size() > 1 && rest[0] == '.' && rest[1] >= '5' && rest[1] <= '9';
    return up && whole.value < INT_MAX ? whole.value + 1 : whole.value;
}

} // namespace

void SongReader::take(std::string_view name, std::string_view value) {
    if (name == "file") {
        if (songs_.size() == maxSongs)
            throw Failure(ErrorCode::away,
                          "The music server knows more songs of this name than can be listed.");
        songs_.emplace_back().file = value;
    }
    if (songs_.empty()) return;
    Song& song = songs_.back();
    if (name == "Title") setOnce(song.title, value);
    if (name == "Album") setOnce(song.album, value);
    if (name == "AlbumArtist") setOnce(song.albumArtist, value);
    if (name == "Artist" && !value.empty()) song.artists.emplace_back(value);
    if (name == "Track" && !song.number) song.number = countOf(value);
    if (name == "Disc" && !song.disc) song.disc = countOf(value);
    // "Time" has whole seconds, and older servers have nothing else.
    if (name == "duration" || (name == "Time" && !song.lengthSeconds)) song.lengthSeconds = rounded(value);
}

} // namespace bridge
