// SPDX-License-Identifier: MIT
#include "tags/ApeTag.h"

#include "tags/ApeSound.h"
#include "tags/Bytes.h"
#include "tags/Container.h"
#include "tags/Formats.h"

#include <algorithm>

namespace tags {
namespace {

constexpr std::string_view subject = "APEv2 tag";
constexpr std::string_view marker = "APETAGEX";
constexpr std::size_t footerSize = 32;
constexpr std::size_t id3v1Size = 128;
constexpr std::uint32_t version = 2000;
constexpr std::uint32_t hasHeader = 0x80000000;
constexpr std::uint32_t isHeader = 0x20000000;
constexpr std::uint32_t binary = 0x02;
constexpr std::string_view frontKey = "Cover Art (Front)";

/** The APEv2 tag at the end of the file; an ID3v1 tag may follow it. */
struct Tag {
    Range place;
    std::vector<std::string> items;
};

std::vector<std::string> itemsIn(const std::string& bytes, std::size_t count) {
    const util::ByteReader in = readerOf(bytes, subject);
    constexpr std::size_t keyAt = 8;
    checkCount(count);
    std::vector<std::string> items;
    std::size_t at = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t length = in.littleEndian(at, 4);
        const std::size_t keyEnd = bytes.find('\0', at + keyAt);
        if (keyEnd == std::string::npos || !in.has(keyEnd + 1, length)) in.damaged();
        items.push_back(bytes.substr(at, keyEnd + 1 + length - at));
        at = keyEnd + 1 + length;
    }
    if (at != bytes.size()) in.damaged();
    return items;
}

std::uint64_t beforeId3v1(const SongFile& file) {
    const std::uint64_t size = file.size();
    return size >= id3v1Size && file.read(size - id3v1Size, 3) == "TAG" ? size - id3v1Size : size;
}

Tag tagOf(const SongFile& file) {
    const std::uint64_t end = beforeId3v1(file);
    Tag tag{.place = {end, 0}, .items = {}};
    if (end < footerSize) return tag;
    const std::string footer = file.read(end - footerSize, footerSize);
    if (!footer.starts_with(marker)) return tag;

    const util::ByteReader in = readerOf(footer, subject);
    const std::uint64_t size = in.littleEndian(12, 4); // of items and footer
    const std::uint32_t flags = in.littleEndian(20, 4);
    if (in.littleEndian(8, 4) != version) in.unsupported();
    const std::uint64_t whole = size + ((flags & hasHeader) != 0 ? footerSize : 0);
    if (size < footerSize || whole > end || (flags & isHeader) != 0) in.damaged();
    if ((flags & hasHeader) != 0 && file.read(end - whole, marker.size()) != marker) in.damaged();
    tag.place = {end - whole, whole};
    tag.items = itemsIn(file.read(end - size, size - footerSize), in.littleEndian(16, 4));
    return tag;
}

std::string keyOf(const std::string& item) { return item.substr(8, item.find('\0', 8) - 8); }

bool isFront(const std::string& item) { return upperCase(keyOf(item)) == upperCase(frontKey); }

bool isPicture(const std::string& item) { return upperCase(keyOf(item)).starts_with("COVER ART ("); }

/** The value is a file name or description, a NUL, and the image. */
Picture pictureIn(const std::string& item) {
    const std::string value = item.substr(item.find('\0', 8) + 1);
    const std::size_t nameEnd = value.find('\0');
    return {.front = isFront(item),
            .image = nameEnd == std::string::npos ? std::string() : value.substr(nameEnd + 1),
            .stored = item};
}

StoredTags tagsOf(const SongFile& file) {
    StoredTags tags;
    for (const std::string& item : tagOf(file).items) {
        if (isPicture(item)) {
            tags.pictures.push_back(pictureIn(item));
        } else {
            tags.others.push_back(item);
        }
    }
    return tags;
}

Body bodyOf(const SongFile& file) {
    const Range place = tagOf(file).place;
    const std::uint64_t end = place.at + place.size;
    return {.bytes = {{0, place.at}, {end, file.size() - end}}, .layout = {}};
}

std::string itemOf(const Cover& cover) {
    std::string value = cover.png ? "cover.png" : "cover.jpg";
    value += '\0';
    value += cover.image;
    return littleEndian(value.size(), 4) + littleEndian(binary, 4) + std::string(frontKey) + '\0' + value;
}

std::string render(const std::vector<std::string>& items) {
    std::string content;
    for (const std::string& item : items)
        content += item;
    const auto end = [&](std::uint32_t flags) {
        return std::string(marker) + littleEndian(version, 4) + littleEndian(content.size() + footerSize, 4) +
               littleEndian(items.size(), 4) + littleEndian(flags, 4) + std::string(8, '\0');
    };
    return end(hasHeader | isHeader) + content + end(hasHeader);
}

void writeFront(SongFile& file, const Cover& cover) {
    Tag tag = tagOf(file);
    std::erase_if(tag.items, isFront);
    tag.items.insert(std::ranges::find_if(tag.items, isPicture), itemOf(cover));
    file.replace(tag.place.at, tag.place.size, render(tag.items));
}

void checkWhole(const SongFile& file) { ape::checkWhole(file, containerOf(file)); }

} // namespace

std::uint64_t ape::soundEnd(const SongFile& file) {
    const std::uint64_t end = beforeId3v1(file);
    if (end < footerSize) return end;
    const std::string footer = file.read(end - footerSize, footerSize);
    if (!footer.starts_with(marker)) return end;
    const util::ByteReader in = readerOf(footer, subject);
    const std::uint64_t size =
        std::uint64_t{in.littleEndian(12, 4)} + ((in.littleEndian(20, 4) & hasHeader) != 0 ? footerSize : 0);
    return size <= end ? end - size : end;
}

const Format apeFormat{tagsOf, bodyOf, checkWhole, writeFront, unlimitedRoom};

} // namespace tags
