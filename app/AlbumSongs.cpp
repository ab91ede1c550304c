// SPDX-License-Identifier: MIT
#include "app/AlbumSongs.h"

#include "app/DeviceReply.h"
#include "app/Quavion.h"
#include "text/Xml.h"
#include "util/Exception.h"
#include "util/Numbers.h"
#include "xml/XmlElement.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace app {
namespace {

constexpr std::size_t maxReplyBytes = std::size_t{64} * 1024 * 1024;
constexpr std::size_t maxSongs = 10'000;          // no album has as many
constexpr std::ptrdiff_t maxTags = 30 * maxSongs; // each element takes thirty times its bytes in memory

constexpr const char* noSongs = "The appliance answered something else than a list of songs.";

xml::XmlDoc parsed(const std::string& reply) {
    try {
        return xml::parseXml(reply, maxReplyBytes);
    } catch (const util::Exception&) {
        throw util::Exception(noSongs);
    }
}

/** The sentence for a reply that is something else. */
std::string otherwise(const std::string& reply) {
    const std::string refusal = deviceRefusal(reply);
    return refusal.empty() ? noSongs : fmt::format("The appliance refuses the command: {}", refusal);
}

std::optional<int> numberIn(const xml::XmlElement& song, std::string_view name) {
    return util::wholeNumber<int>(song.child(name).text());
}

DeviceSong songFrom(const xml::XmlElement& song) {
    const std::optional<int> length = numberIn(song, "Length");
    return {.number = numberIn(song, "Number"),
            .disc = numberIn(song, "Disc"),
            .title = song.child("Title").text(),
            .artist = song.child("Artist").text(),
            .album = song.child("Album").text(),
            .albumArtist = song.child("AlbumArtist").text(),
            .length = length ? std::optional(std::chrono::seconds(*length)) : std::nullopt,
            .file = song.child("File").text()};
}

std::string command(const store::Record& song) {
    std::string fields = fmt::format("<Album>{}</Album>", text::xmlEscaped(song.album));
    if (song.sampler) fields += "<Sampler>1</Sampler>";
    if (!song.artist.empty()) fields += fmt::format("<Artist>{}</Artist>", text::xmlEscaped(song.artist));
    return fmt::format("<GetAlbumSongs>{}</GetAlbumSongs>", fields);
}

} // namespace

std::vector<DeviceSong> deviceSongs(const std::string& reply, std::string_view root) {
    if (std::count(reply.begin(), reply.end(), '<') > maxTags)
        throw util::Exception("The appliance lists too many songs.");
    const xml::XmlDoc document = parsed(reply);
    const xml::XmlElement list = xml::XmlElement::rootOf(*document);
    if (!list.is(root)) throw util::Exception(otherwise(reply));
    std::vector<DeviceSong> songs;
    for (const xml::XmlElement& song : list.children("Song")) {
        if (songs.size() == maxSongs) throw util::Exception("The appliance lists too many songs.");
        songs.push_back(songFrom(song));
    }
    return songs;
}

std::vector<DeviceSong> albumSongs(const store::Record& song) {
    if (song.album.empty()) return {};
    return deviceSongs(Quavion::Instance()->Send(command(song)), "AlbumSongs");
}

} // namespace app
