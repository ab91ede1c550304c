// SPDX-License-Identifier: MIT
#include "app/AlbumSongs.h"

#include "app/DeviceReply.h"
#include "app/Quavion.h"
#include "text/Xml.h"
#include "util/Exception.h"
#include "util/XmlElement.h"

#include <fmt/format.h>

#include <charconv>
#include <cstddef>
#include <string_view>

namespace app {
namespace {

constexpr std::size_t maxReplyBytes = std::size_t{64} * 1024 * 1024;
constexpr std::size_t maxSongs = 10'000; // no album has as many

std::optional<int> numberIn(const util::XmlElement& song, std::string_view name) {
    const std::string text = song.child(name).text();
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number < 0) return std::nullopt;
    return number;
}

DeviceSong songFrom(const util::XmlElement& song) {
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
    if (song.sampler)
        fields += "<Sampler>1</Sampler>";
    else if (!song.artist.empty())
        fields += fmt::format("<Artist>{}</Artist>", text::xmlEscaped(song.artist));
    return fmt::format("<GetAlbumSongs>{}</GetAlbumSongs>", fields);
}

} // namespace

std::vector<DeviceSong> deviceSongs(const std::string& reply, std::string_view root) {
    if (const std::string refusal = deviceRefusal(reply); !refusal.empty())
        throw util::Exception(fmt::format("The appliance refuses the command: {}", refusal));
    const util::XmlDoc document = util::parseXml(reply, maxReplyBytes);
    const util::XmlElement list = util::XmlElement::rootOf(*document);
    if (!list.is(root)) throw util::Exception("The appliance answered something else than a list of songs.");
    std::vector<DeviceSong> songs;
    for (const util::XmlElement& song : list.children("Song")) {
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
