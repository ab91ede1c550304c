// SPDX-License-Identifier: MIT
#include "bridge/Replies.h"

#include "text/Utf8.h"
#include "text/Xml.h"

#include <fmt/format.h>

#include <iterator>
#include <optional>

namespace bridge {
namespace {

constexpr std::string_view declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

/** Writes an element and those below it, one a line. What is not known is left out. */
class Element {
public:
    Element(std::string_view name, int depth) : name_(name), depth_(depth) {}

    /** @param value in any bytes */
    void leaf(std::string_view name, std::string_view value) {
        content_ += fmt::format("{:{}}<{}>{}</{}>\n", "", 2 * (depth_ + 1), name,
                                text::xmlEscaped(text::toUtf8(value)), name);
    }
    void known(std::string_view name, std::string_view value) {
        if (!value.empty()) leaf(name, value);
    }
    void known(std::string_view name, const std::optional<int>& value) {
        if (value) leaf(name, std::to_string(*value));
    }
    void add(const Element& child) { content_ += child.written(); }

    [[nodiscard]] std::string written() const {
        const std::string indent(2 * static_cast<std::size_t>(depth_), ' ');
        if (content_.empty()) return fmt::format("{}<{}/>\n", indent, name_);
        return fmt::format("{0}<{1}>\n{2}{0}</{1}>\n", indent, name_, content_);
    }

private:
    std::string_view name_;
    int depth_;
    std::string content_;
};

std::string document(const Element& root) { return std::string(declaration) + root.written(); }

std::string_view nameOf(PlayerState::Activity activity) {
    switch (activity) {
    case PlayerState::Activity::playing:
        return "playing";
    case PlayerState::Activity::paused:
        return "paused";
    case PlayerState::Activity::stopped:
        break;
    }
    return "stopped";
}

Element songElement(const Song& song) {
    Element element("Song", 1);
    element.known("Number", song.number);
    element.known("Disc", song.disc);
    element.known("Title", song.title);
    element.known("Artist", song.artists.empty() ? std::string() : song.artists.front());
    element.known("Album", song.album);
    element.known("AlbumArtist", song.albumArtist);
    element.known("Length", song.lengthSeconds);
    element.leaf("File", song.file);
    return element;
}

} // namespace

std::string playerStateReply(const PlayerState& state) {
    Element root("PlayerState", 0);
    root.leaf("State", nameOf(state.activity));
    root.known("Volume", state.volume);
    root.leaf("QueueLength", std::to_string(state.queueLength));
    if (state.position) {
        root.known("Position", state.position);
        root.leaf("Elapsed", state.elapsedSeconds.empty() ? "0" : state.elapsedSeconds); // when it is stopped
        root.known("Length", state.lengthSeconds);
    }
    root.leaf("Repeat", state.repeat ? "1" : "0");
    root.leaf("Random", state.random ? "1" : "0");
    root.known("Failure", state.failure);
    return document(root);
}

std::string songsReply(std::string_view element, const std::vector<Song>& songs) {
    Element root(element, 0);
    for (const Song& song : songs)
        root.add(songElement(song));
    return document(root);
}

std::string addedSongsReply(std::size_t count) {
    Element root("AddedSongs", 0);
    root.leaf("Count", std::to_string(count));
    return document(root);
}

std::string albumsReply(const std::vector<ListedAlbum>& albums) {
    Element root("Albums", 0);
    for (const ListedAlbum& album : albums) {
        Element element("Album", 1);
        element.known("Artist", album.artist);
        element.leaf("Name", album.name);
        root.add(element);
    }
    return document(root);
}

std::string errorReply(ErrorCode code, std::string_view sentence) {
    return fmt::format("{}<Error code=\"{}\">{}</Error>\n", declaration, static_cast<int>(code),
                       text::xmlEscaped(text::toUtf8(sentence)));
}

} // namespace bridge
