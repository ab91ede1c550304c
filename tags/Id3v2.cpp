// SPDX-License-Identifier: MIT
#include "tags/Id3v2.h"

#include "tags/Bytes.h"
#include "text/Utf8.h"
#include "util/Exception.h"

#include <algorithm>
#include <optional>

namespace tags::id3v2 {
namespace {

constexpr std::size_t headerSize = 10;
constexpr std::string_view subject = "ID3v2 tag";
constexpr std::uint32_t frontCover = 3;

std::size_t frameHeaderSize(unsigned version) { return version == 2 ? 6 : 10; }

std::uint32_t without(std::uint32_t number) { // drops the highest bit of each byte
    return (number & 0x7FU) | (number & 0x7F00U) >> 1U | (number & 0x7F0000U) >> 2U |
           (number & 0x7F000000U) >> 3U;
}

std::uint32_t syncSafe(const util::ByteReader& in, std::size_t at) {
    const std::uint32_t number = in.bigEndian(at, 4);
    if ((number & 0x80808080U) != 0) in.damaged();
    return without(number);
}

std::string toSyncSafe(std::size_t number) {
    std::string bytes;
    for (unsigned shift = 28; shift != 0; shift -= 7)
        bytes.push_back(static_cast<char>(number >> (shift - 7) & 0x7FU));
    return bytes;
}

/**
 * Removes the zero byte after each FF. Unsynchronisation put it there, so that old players don't take FF E0
 * in a tag for sound.
 */
std::string resynchronised(std::string_view bytes) {
    std::string result;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        result.push_back(bytes[i]);
        if (bytes[i] == '\xFF' && i + 1 < bytes.size() && bytes[i + 1] == '\0') ++i;
    }
    return result;
}

/**
 * Whether a frame's name is here. Old programs wrote three-letter names into four-letter fields, so the last
 * character may be a blank or NUL.
 */
bool nameAt(const util::ByteReader& in, std::size_t at, unsigned version) {
    const std::size_t length = version == 2 ? 3 : 4;
    if (!in.has(at, length)) return false;
    for (std::size_t i = 0; i < length; ++i) {
        const auto c = static_cast<char>(in.byte(at + i));
        const bool plain = (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
        const bool padding = i == 3 && (c == ' ' || c == '\0');
        if (!plain && !padding) return false;
    }
    return true;
}

bool paddingAt(const util::ByteReader& in, std::size_t at) {
    return at <= in.size() &&
           std::ranges::all_of(in.bytes().subspan(at), [](std::byte byte) { return byte == std::byte{}; });
}

bool frameOrEndAt(const util::ByteReader& in, std::size_t at) {
    return nameAt(in, at, 4) || paddingAt(in, at);
}

/**
 * The size of a frame's content. Version 2.4 requires sync-safe numbers, but a widespread player wrote plain
 * ones.
 */
std::size_t contentSize(const util::ByteReader& in, std::size_t at, unsigned version) {
    if (version == 2) return in.bigEndian(at + 3, 3);
    const std::uint32_t plain = in.bigEndian(at + 4, 4);
    if (version == 3) return plain;
    const std::size_t next = at + frameHeaderSize(version);
    const bool unsafe = (plain & 0x80808080U) != 0;
    const bool leadsAstray = !frameOrEndAt(in, next + without(plain)) && frameOrEndAt(in, next + plain);
    return unsafe || leadsAstray ? plain : without(plain);
}

/** The frame's content, decoded according to its flags. */
std::string contentOf(const std::string& frame, unsigned version) {
    const util::ByteReader in = readerOf(frame, subject);
    std::size_t at = frameHeaderSize(version);
    if (version == 2) return frame.substr(at);
    const std::uint32_t flags = in.bigEndian(8, 2);
    const bool third = version == 3;
    if ((flags & (third ? 0xC0U : 0x0CU)) != 0) in.unsupported(); // compressed or encrypted
    if ((flags & (third ? 0x20U : 0x40U)) != 0) at += 1;          // group id
    if (!third && (flags & 0x01U) != 0) at += 4;                  // the length again
    if (at > frame.size()) in.damaged();
    const std::string_view content = std::string_view(frame).substr(at);
    return !third && (flags & 0x02U) != 0 ? resynchronised(content) : std::string(content);
}

/** The end of the description that begins at `at`, after its NUL. */
std::optional<std::size_t> endOfDescription(std::string_view content, std::size_t at) {
    const bool twoBytes = content[0] == 1 || content[0] == 2;
    if (!twoBytes) {
        const std::size_t end = content.find('\0', at);
        return end == std::string_view::npos ? std::nullopt : std::optional(end + 1);
    }
    for (; at + 1 < content.size(); at += 2) {
        if (content[at] == '\0' && content[at + 1] == '\0') return at + 2;
    }
    return std::nullopt;
}

std::optional<Picture> pictureIn(const std::string& frame, unsigned version) {
    if (!frame.starts_with(version == 2 ? "PIC" : "APIC")) return std::nullopt;
    Picture picture{.front = false, .image = {}, .stored = frame};
    const std::string content = contentOf(frame, version);
    const std::size_t mimeEnd = version == 2 ? 4 : content.find('\0', 1);
    const std::size_t typeAt = version == 2 ? 4 : mimeEnd + 1;
    if (mimeEnd == std::string::npos || typeAt >= content.size()) return picture;
    picture.front = static_cast<unsigned char>(content[typeAt]) == frontCover;
    const bool address = content.compare(1, 3, "-->") == 0;
    const auto image = endOfDescription(content, typeAt + 1);
    if (image && !address) picture.image = content.substr(*image);
    return picture;
}

std::string frameOf(const Cover& cover, unsigned version) {
    using namespace std::string_literals;
    std::string content = "\0"s;
    content += version == 2 ? std::string(cover.png ? "PNG" : "JPG") : std::string(cover.mime) + '\0';
    content += static_cast<char>(frontCover);
    content += '\0';
    content += cover.image;
    if (version == 2) return "PIC" + bigEndian(content.size(), 3) + content;
    return "APIC" + (version == 3 ? bigEndian(content.size(), 4) : toSyncSafe(content.size())) + "\0\0"s +
           content;
}

/** The tag's frames and padding, without header, extended header and unsynchronisation. */
std::string framesOf(const util::ByteReader& in, unsigned version, std::uint32_t flags) {
    const std::size_t size = syncSafe(in, 6);
    const auto body = in.part(headerSize, size).bytes();
    std::string frames(reinterpret_cast<const char*>(body.data()), body.size());
    if (version == 2 && (flags & 0x40U) != 0) in.unsupported(); // a compression that was never defined
    if (version < 4 && (flags & 0x80U) != 0) frames = resynchronised(frames);
    if (version > 2 && (flags & 0x40U) != 0) {
        const util::ByteReader extended = readerOf(frames, subject);
        const std::size_t length =
            version == 3 ? std::size_t{4} + extended.bigEndian(0, 4) : syncSafe(extended, 0);
        if (length > frames.size()) in.damaged();
        frames.erase(0, length);
    }
    return frames;
}

/** UTF-16 with a byte order mark. */
std::string utf16(std::string_view utf8) {
    std::string units = littleEndian(0xFEFF, 2);
    while (!utf8.empty()) {
        const text::Character character = text::firstCharacter(utf8);
        if (character.length == 0) break;
        const std::uint32_t code = character.code;
        if (code < 0x10000) {
            units += littleEndian(code, 2);
        } else {
            units += littleEndian(0xD800 + ((code - 0x10000) >> 10U), 2) +
                     littleEndian(0xDC00 + (code & 0x3FFU), 2);
        }
        utf8.remove_prefix(character.length);
    }
    return units;
}

} // namespace

std::string textFrame(std::string_view id, std::string_view utf8) {
    const bool ascii =
        std::ranges::none_of(utf8, [](char c) { return (static_cast<unsigned char>(c) & 0x80U) != 0; });
    const auto coded = [&](std::string_view text) { return ascii ? std::string(text) : utf16(text); };
    std::string content(1, ascii ? '\0' : '\1');
    if (id == "COMM")
        content += "XXX" + coded("") + std::string(ascii ? 1 : 2, '\0'); // language, description
    content += coded(utf8);
    return std::string(id) + bigEndian(content.size(), 4) + std::string(2, '\0') + content;
}

std::uint64_t lengthAt(const SongFile& file, std::uint64_t at) {
    const std::string header = file.readSome(at, headerSize);
    if (header.size() < headerSize || !header.starts_with("ID3")) return 0;
    const util::ByteReader in = readerOf(header, subject);
    const bool footer = in.byte(3) == 4 && (in.byte(5) & 0x10U) != 0;
    return std::uint64_t{headerSize} + syncSafe(in, 6) + (footer ? headerSize : 0);
}

std::uint64_t endOfTags(const SongFile& file) {
    constexpr int maxTags = 9;
    std::uint64_t end = 0;
    for (int i = 0; i < maxTags; ++i)
        end += lengthAt(file, end);
    return end;
}

Tag parse(std::string_view bytes) {
    const util::ByteReader whole = readerOf(bytes, subject);
    if (!whole.matches(0, "ID3")) whole.damaged();
    Tag tag{.version = whole.byte(3), .frames = {}};
    if (tag.version < 2 || tag.version > 4) whole.unsupported();
    const std::uint32_t flags = whole.byte(5);
    const std::string frames = framesOf(whole, tag.version, flags);
    const util::ByteReader in = readerOf(frames, subject);
    const std::size_t frameHeader = frameHeaderSize(tag.version);
    std::size_t at = 0;
    while (in.has(at, frameHeader) && in.byte(at) != 0) {
        if (!nameAt(in, at, tag.version)) in.damaged();
        const std::size_t size = contentSize(in, at, tag.version);
        if (!in.has(at + frameHeader, size)) in.damaged();
        std::string frame = frames.substr(at, frameHeader + size);
        // Each frame gets the unsynchronisation flag. The tag's own flag must go: it would cover the new
        // picture, which isn't coded so.
        if (tag.version == 4 && (flags & 0x80U) != 0) frame[9] = static_cast<char>(frame[9] | 0x02);
        tag.frames.push_back(std::move(frame));
        checkCount(tag.frames.size());
        at += frameHeader + size;
    }
    if (!paddingAt(in, at)) in.damaged(); // a wrong frame size led here; the rest would get lost
    return tag;
}

void collect(const Tag& tag, StoredTags& tags) {
    for (const std::string& frame : tag.frames) {
        if (auto picture = pictureIn(frame, tag.version)) {
            tags.pictures.push_back(std::move(*picture));
        } else {
            tags.others.push_back(frame);
        }
    }
}

bool removeFront(Tag& tag) {
    return std::erase_if(tag.frames, [&](const std::string& frame) {
               const auto picture = pictureIn(frame, tag.version);
               return picture && picture->front;
           }) != 0;
}

void setFront(Tag& tag, const Cover& cover) {
    removeFront(tag);
    const auto firstPicture = std::ranges::find_if(
        tag.frames, [&](const std::string& frame) { return pictureIn(frame, tag.version).has_value(); });
    tag.frames.insert(firstPicture, frameOf(cover, tag.version));
}

std::size_t sizeOf(const Tag& tag) {
    std::size_t size = headerSize;
    for (const std::string& frame : tag.frames)
        size += frame.size();
    return size;
}

std::string render(const Tag& tag, std::size_t padding) {
    const std::size_t size = sizeOf(tag) + padding;
    std::string bytes = "ID3";
    bytes += {static_cast<char>(tag.version), '\0', '\0'};
    bytes += toSyncSafe(size - headerSize);
    for (const std::string& frame : tag.frames)
        bytes += frame;
    bytes.resize(size, '\0');
    return bytes;
}

} // namespace tags::id3v2
