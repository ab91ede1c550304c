// SPDX-License-Identifier: MIT
#include "bridge/Album.h"

#include "text/Fold.h"

#include <algorithm>
#include <climits>
#include <functional>
#include <iterator>
#include <map>
#include <set>
#include <tuple>
#include <utility>

namespace bridge {
namespace {

struct Album {
    std::set<std::string> owners;  // folded
    std::set<std::string> artists; // folded, of all songs
    std::vector<Song> songs;
};

/** Whether it is an album artist or a folder, and which. */
using AlbumKey = std::pair<bool, std::string>;

AlbumKey keyOf(const Song& song) {
    if (!song.albumArtist.empty()) return {true, text::folded(song.albumArtist)};
    const std::size_t end = song.file.rfind('/');
    return {false, end == std::string::npos ? std::string() : song.file.substr(0, end)};
}

std::map<AlbumKey, Album> grouped(std::vector<Song> songs) {
    std::map<AlbumKey, Album> albums;
    for (Song& song : songs) {
        const AlbumKey key = keyOf(song);
        Album& album = albums[key];
        for (const std::string& artist : song.artists)
            album.artists.insert(text::folded(artist));
        const auto& [named, owner] = key;
        if (named)
            album.owners = {owner};
        else
            album.owners = album.artists;
        album.songs.push_back(std::move(song));
    }
    return albums;
}

using Condition = std::function<bool(const Album& album)>;

/** The songs of all albums for which the first condition holds that holds for any. */
std::vector<Song> firstThatHolds(std::map<AlbumKey, Album> albums, const std::vector<Condition>& conditions) {
    std::vector<Song> chosen;
    for (const Condition& holds : conditions) {
        for (auto& [key, album] : albums)
            if (holds(album)) std::move(album.songs.begin(), album.songs.end(), std::back_inserter(chosen));
        if (!chosen.empty()) break;
    }
    return chosen;
}

auto playingOrder(const Song& song) {
    return std::make_tuple(song.disc.value_or(1), song.number.value_or(INT_MAX), std::string_view(song.file));
}

std::vector<Condition> conditionsFor(const AlbumChoice& choice) {
    if (choice.sampler || !choice.artist)
        return {[](const Album& album) { return album.artists.size() > 1; },
                [](const Album&) { return true; }};
    const std::string artist = text::folded(*choice.artist);
    return {[artist](const Album& album) { return album.owners.contains(artist); },
            [artist](const Album& album) { return album.artists.contains(artist); }};
}

} // namespace

std::vector<Song> albumSongs(std::vector<Song> songs, const AlbumChoice& choice) {
    std::vector<Song> chosen = firstThatHolds(grouped(std::move(songs)), conditionsFor(choice));
    std::ranges::sort(chosen, {}, playingOrder);
    return chosen;
}

} // namespace bridge
