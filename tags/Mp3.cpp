// SPDX-License-Identifier: MIT
#include "tags/Formats.h"
#include "tags/Id3v2.h"
#include "tags/MpegAudio.h"
#include "text/Utf8.h"

#include <algorithm>

namespace tags {
namespace {

/** A field of an ID3v1 tag, without its padding. */
std::string field(const std::string& tag, std::size_t at, std::size_t length) {
    std::string text = tag.substr(at, length);
    text.resize(std::min(text.find('\0'), text.size()));
    const std::size_t begin = std::min(text.find_first_not_of(' '), text.size());
    return text.substr(begin, text.find_last_not_of(' ') + 1 - begin);
}

/**
 * The texts of the ID3v1 tag at the end, converted to ID3v2. Many players ignore the old tag once there is a
 * new one.
 */
id3v2::Tag fromId3v1(const SongFile& file) {
    constexpr std::size_t size = 128;
    constexpr std::size_t genres = 192;
    id3v2::Tag tag;
    const std::string old = file.size() < size ? std::string() : file.read(file.size() - size, size);
    if (!old.starts_with("TAG")) return tag;
    const auto add = [&](const char* id, const std::string& text) {
        if (!text.empty()) tag.frames.push_back(id3v2::textFrame(id, text::toUtf8(text)));
    };
    const auto track = static_cast<unsigned char>(old[125] == '\0' ? old[126] : '\0');
    const auto genre = static_cast<unsigned char>(old[127]);
    add("TIT2", field(old, 3, 30));
    add("TPE1", field(old, 33, 30));
    add("TALB", field(old, 63, 30));
    add("TYER", field(old, 93, 4));
    add("COMM", field(old, 97, track == 0 ? 30 : 28));
    add("TRCK", track == 0 ? "" : std::to_string(track));
    add("TCON", genre < genres ? "(" + std::to_string(genre) + ")" : "");
    return tag;
}

/**
 * The tag at the start of the file, or what a new one starts with. Tags at the end (ID3v1, APEv2) count as
 * body.
 */
id3v2::Tag tagOf(const SongFile& file, std::uint64_t length) {
    return length == 0 ? fromId3v1(file) : id3v2::parse(file.read(0, length));
}

StoredTags tagsOf(const SongFile& file) {
    StoredTags tags;
    id3v2::collect(tagOf(file, id3v2::lengthAt(file, 0)), tags);
    return tags;
}

Body bodyOf(const SongFile& file) {
    const std::uint64_t length = id3v2::lengthAt(file, 0);
    return {.bytes = {{length, file.size() - length}}, .layout = {}};
}

void writeFront(SongFile& file, const Cover& cover) {
    const std::uint64_t length = id3v2::lengthAt(file, 0);
    id3v2::Tag tag = tagOf(file, length);
    id3v2::setFront(tag, cover);
    file.replace(0, length, id3v2::render(tag, paddingFor(id3v2::sizeOf(tag), length)));
}

void checkWhole(const SongFile& file) { mpeg::checkWhole(file, id3v2::endOfTags(file)); }

} // namespace

const Format mp3Format{tagsOf, bodyOf, checkWhole, writeFront, unlimitedRoom};

} // namespace tags
