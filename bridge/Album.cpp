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

std::string_view folderOf(const Song& song) {
    const std::size_t end = song.file.rfind('/');
    return std::string_view(song.file).substr(0, end == std::string::npos ? 0 : end);
}

AlbumKey keyOf(const Song& song) {
    if (!song.albumArtist.empty()) return {true, text::folded(song.albumArtist)};
    return {false, std::string(folderOf(song))};
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

/** As it is where only folders tell discs apart. */
bool hasANumberTwice(const std::vector<Song>& songs) {
    std::set<std::pair<int, int>> seen;
    return std::ranges::any_of(songs, [&](const Song& song) {
        return song.number && !seen.emplace(song.disc.value_or(1), *song.number).second;
    });
}

void putInPlayingOrder(std::vector<Song>& songs) {
    const bool folders = hasANumberTwice(songs);
    std::ranges::sort(songs, {}, [folders](const Song& song) {
        return std::make_tuple(song.disc.value_or(1), folders ? folderOf(song) : std::string_view(),
                               song.number.value_or(INT_MAX), std::string_view(song.file));
    });
}

std::vector<Condition> conditionsFor(const AlbumChoice& choice) {
    const std::string artist = text::folded(choice.artist.value_or(""));
    const auto isOwn = [artist](const Album& album) { return album.owners.contains(artist); };
    const auto hasASong = [artist](const Album& album) { return album.artists.contains(artist); };
    const auto isShared = [](const Album& album) { return album.artists.size() > 1; };
    const auto any = [](const Album&) { return true; };
    if (!choice.artist) return {isShared, any};
    if (!choice.sampler) return {isOwn, hasASong};
    return {[=](const Album& album) { return isShared(album) && (isOwn(album) || hasASong(album)); },
            isShared, any};
}

} // namespace

std::vector<Song> albumSongs(std::vector<Song> songs, const AlbumChoice& choice) {
    std::vector<Song> chosen = firstThatHolds(grouped(std::move(songs)), conditionsFor(choice));
    putInPlayingOrder(chosen);
    return chosen;
}

} // namespace bridge
