// SPDX-License-Identifier: MIT
#include "app/SongLookup.h"

#include "app/CoversAtHand.h"
#include "app/OpenStore.h"
#include "sources/AmazonUrl.h"
#include "sources/SourceList.h"
#include "util/Exception.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <utility>

namespace app {
namespace {

constexpr std::uint64_t maxLookupSeconds = 60; // one request blocks the next
constexpr std::uint64_t maxAnswerDays = 3650;

OpenStore& open() {
    if (openStore() == nullptr) throw util::Exception("The cover cache has not been opened.");
    return *openStore();
}

sources::LookupSettings settings(Parameters& parameters) {
    const bool deny = parameters.text("privateAddresses") == "deny";
    return {.timeout = std::chrono::seconds(std::min(parameters.number("lookupTimeout"), maxLookupSeconds)),
            .answerAge = std::chrono::days(std::min(parameters.number("answerAge"), maxAnswerDays)),
            .privateAddresses = deny ? net::PrivateAddresses::Deny : net::PrivateAddresses::Allow};
}

/** A base URL may end in a slash, which the paths bring themselves. */
sources::ParameterReader reader(Parameters& parameters) {
    return [&parameters](std::string_view name) {
        std::string value = parameters.text(name);
        while (name.ends_with("Url") && value.ends_with('/'))
            value.pop_back();
        return value;
    };
}

sources::LookupResult ask(matching::Judge& judge, std::string_view names, bool pictures) {
    Parameters& parameters = open().parameters;
    sources::Sources sources = sources::sourcesOf(names, reader(parameters));
    if (!pictures) sources.pictures.clear();
    return sources::lookUp(*open().store, sources, judge, settings(parameters));
}

SongLookup covers(const store::Record& song, std::string_view names, std::vector<matching::Ranked> atHand) {
    matching::Judge judge(questionOf(song));
    sources::LookupResult result = ask(judge, names, true);
    return {.found = matching::rankedPictures(judge, std::move(result.candidates), std::move(atHand)),
            .reports = std::move(result.reports)};
}

/** What is known of the song but its album. */
store::Record withoutAlbum(store::Record song) {
    song.album.clear();
    return song;
}

/** Without a title, any album of the artist would fit. */
SongLookup albums(const store::Record& song, std::string_view names, std::vector<matching::Ranked> atHand) {
    if (song.title.empty()) return {};
    matching::Judge judge(questionOf(song));
    sources::LookupResult result = ask(judge, names, false);
    return {.found = matching::rankedAlbums(judge, std::move(result.candidates), std::move(atHand)),
            .reports = std::move(result.reports)};
}

} // namespace

SongLookup findCovers(const store::Record& song) {
    return covers(song, open().parameters.text("sources"), coversAtHand(open(), song));
}

SongLookup findAlbums(const store::Record& song) {
    const store::Record asked = withoutAlbum(song);
    return albums(asked, open().parameters.text("sources"), albumsAtHand(open(), asked));
}

SongLookup findCoversOnWeb(const store::Record& song, std::string_view sourceNames) {
    return covers(song, sourceNames, {});
}

SongLookup findAlbumsOnWeb(const store::Record& song, std::string_view sourceNames) {
    return albums(withoutAlbum(song), sourceNames, {});
}

std::string amazonSearchUrl(const store::Record& song, int page) {
    const auto access = sources::amazonAccess(reader(open().parameters));
    if (!access) throw util::Exception("The parameters amazonKey and amazonSecret are not set.");
    return sources::fullUrl(
        sources::amazonSearch(*access, {.artist = song.sampler ? "" : song.artist, .work = song.album}, page,
                              std::chrono::system_clock::now()));
}

} // namespace app
