// SPDX-License-Identifier: MIT
#include "tags/ApeTag.h"
#include "tags/Bytes.h"
#include "tags/FlacFrames.h"
#include "tags/Formats.h"
#include "tags/Id3v2.h"
#include "tags/Xiph.h"
#include "util/Exception.h"

#include <algorithm>

namespace tags {
namespace {

constexpr std::string_view subject = "FLAC file";
constexpr std::string_view marker = "fLaC";
constexpr std::size_t headerSize = 4;

enum BlockType : std::uint32_t { streamInfo = 0, padding = 1, comment = 4, picture = 6 };

struct Block {
    std::uint32_t type = 0;
    std::string content;
};

struct Parts {
    std::string id3; // a misplaced tag that some programs write and others read
    std::vector<Block> blocks;
    std::uint64_t soundAt = 0;
};

/** If no frame begins here, the lengths of the blocks are wrong. */
void checkSound(const SongFile& file, const util::ByteReader& in, std::uint64_t at) {
    if (at >= file.size()) in.truncated();
    const std::string sync = file.read(at, 2);
    if ((readerOf(sync, subject).bigEndian(0, 2) & 0xFFFEU) != 0xFFF8U) in.damaged();
}

Parts partsOf(const SongFile& file) {
    const std::uint64_t id3Length = id3v2::lengthAt(file, 0);
    Parts parts{.id3 = file.read(0, id3Length), .blocks = {}, .soundAt = id3Length + marker.size()};
    const util::ByteReader in = readerOf({}, subject);
    if (file.readSome(id3Length, marker.size()) != marker) in.damaged();
    for (bool last = false; !last;) {
        const std::string header = file.read(parts.soundAt, headerSize);
        const util::ByteReader reader = readerOf(header, subject);
        const std::uint32_t length = reader.bigEndian(1, 3);
        last = (reader.byte(0) & 0x80U) != 0;
        parts.blocks.push_back({reader.byte(0) & 0x7FU, file.read(parts.soundAt + headerSize, length)});
        parts.soundAt += headerSize + length;
        checkCount(parts.blocks.size());
        if (parts.soundAt - id3Length > maxTagBytes)
            throw util::Exception("The tags of the song file are too large.");
    }
    if (parts.blocks.front().type != streamInfo) in.damaged();
    checkSound(file, in, parts.soundAt);
    return parts;
}

StoredTags tagsOf(const SongFile& file) {
    const Parts parts = partsOf(file);
    StoredTags tags;
    for (const Block& block : parts.blocks) {
        if (block.type == picture) {
            tags.pictures.push_back(xiph::pictureIn(block.content));
        } else if (block.type == comment) {
            xiph::collect(xiph::parse(block.content), tags);
        } else if (block.type != padding) {
            tags.others.push_back(bigEndian(block.type, 1) + block.content);
        }
    }
    if (!parts.id3.empty()) id3v2::collect(id3v2::parse(parts.id3), tags);
    return tags;
}

Body bodyOf(const SongFile& file) {
    const Parts parts = partsOf(file);
    return {.bytes = {{parts.soundAt, file.size() - parts.soundAt}}, .layout = parts.blocks.front().content};
}

std::string render(const Block& block, bool last) {
    constexpr std::size_t maxContent = 0xFFFFFF; // a longer one makes the file unreadable
    if (block.content.size() > maxContent)
        throw util::Exception("The picture is too large for a FLAC file, which takes less than 16 MB.");
    return bigEndian(block.type | (last ? 0x80U : 0U), 1) + bigEndian(block.content.size(), 3) +
           block.content;
}

void withoutFronts(Parts& parts) {
    std::erase_if(parts.blocks, [](const Block& block) {
        return block.type == padding || (block.type == picture && xiph::pictureIn(block.content).front);
    });
    for (Block& block : parts.blocks) {
        if (block.type != comment) continue;
        xiph::Comment fields = xiph::parse(block.content);
        if (xiph::removeFront(fields)) block.content = xiph::render(fields);
    }
    if (parts.id3.empty()) return;
    id3v2::Tag tag = id3v2::parse(parts.id3);
    if (id3v2::removeFront(tag)) parts.id3 = tag.frames.empty() ? "" : id3v2::render(tag, 0);
}

/**
 * Writes one front cover, into a picture block, and removes those in other places: players differ in where
 * they look first.
 */
void writeFront(SongFile& file, const Cover& cover) {
    Parts parts = partsOf(file);
    withoutFronts(parts);
    parts.blocks.insert(std::ranges::find(parts.blocks, std::uint32_t{picture}, &Block::type),
                        Block{picture, xiph::pictureBlock(cover)});
    std::string head = parts.id3 + std::string(marker);
    for (const Block& block : parts.blocks)
        head += render(block, false);
    const std::size_t free = paddingFor(head.size() + headerSize, parts.soundAt);
    head += render({padding, std::string(free, '\0')}, true);
    file.replace(0, parts.soundAt, head);
}

void checkWhole(const SongFile& file) {
    const Parts parts = partsOf(file);
    const std::uint64_t end = ape::soundEnd(file);
    if (end > parts.soundAt)
        flac::checkWhole(file, parts.blocks.front().content, {parts.soundAt, end - parts.soundAt});
}

} // namespace

const Format flacFormat{tagsOf, bodyOf, checkWhole, writeFront, unlimitedRoom};

} // namespace tags
