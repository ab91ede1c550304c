// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace bridge {

/** A song as MPD describes it. Texts are in whatever bytes it sent, and empty where there is none. */
struct Song {
    std::string file; // what MPD knows it by
    std::string title;
    std::vector<std::string> artists; // a song may name several
    std::string album;
    std::string albumArtist;
    std::optional<int> number;
    std::optional<int> disc;
    std::optional<int> lengthSeconds;
};

/** Puts songs together from the fields of MPD's answer, in which each begins with its file. */
class SongReader {
public:
    static constexpr std::size_t maxSongs = 10'000;

    /** What belongs to no song is passed over. @throws Failure beyond maxSongs */
    void take(std::string_view name, std::string_view value);

    [[nodiscard]] std::vector<Song> songs() && { return std::move(songs_); }

private:
    std::vector<Song> songs_;
};

} // namespace bridge
