// SPDX-License-Identifier: MIT
#include "tags/Bytes.h"
#include "tags/Formats.h"
#include "tags/Id3v2.h"
#include "text/Utf8.h"
#include "util/Exception.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>

namespace tags {
namespace {

constexpr std::size_t headerSize = 8;
constexpr std::uint64_t maxForm = std::numeric_limits<std::uint32_t>::max();

/** Numbers are little endian in RIFF (WAV) and big endian in IFF (AIFF). The rest is the same. */
struct Flavour {
    bool bigEndian;
    std::string_view subject;
    std::string_view sound; // id of the sound's chunk
    std::string_view newTag;
};
constexpr Flavour wav{false, "WAV file", "data", "id3 "};
constexpr Flavour aiff{true, "AIFF file", "SSND", "ID3 "};

struct Chunk {
    std::string id;
    std::uint64_t at = 0;
    std::uint64_t size = 0; // of the content

    [[nodiscard]] std::uint64_t end() const noexcept { return at + headerSize + size; }
    [[nodiscard]] bool isTag() const { return upperCase(id) == "ID3 "; }
};

struct Form {
    std::vector<Chunk> chunks;
    std::optional<Chunk> tag; // the first one, because players read that
    std::uint64_t end = 0;    // of the last chunk, without its padding byte
};

std::uint32_t number(const Flavour& flavour, const util::ByteReader& in, std::size_t at) {
    return flavour.bigEndian ? in.bigEndian(at, 4) : in.littleEndian(at, 4);
}

std::string numberOf(const Flavour& flavour, std::uint64_t value) {
    return flavour.bigEndian ? bigEndian(value, 4) : littleEndian(value, 4);
}

Form formOf(const SongFile& file, const Flavour& flavour) {
    constexpr std::size_t maxChunks = 10'000;
    const std::string head = file.read(0, 12);
    const util::ByteReader in = readerOf(head, flavour.subject);
    const std::uint64_t formEnd = std::min(file.size(), headerSize + std::uint64_t{number(flavour, in, 4)});
    Form form{.chunks = {}, .tag = {}, .end = 12};
    for (std::uint64_t at = 12; at + headerSize <= formEnd; at = form.end + form.end % 2) {
        const std::string header = file.read(at, headerSize);
        const Chunk chunk{header.substr(0, 4), at, number(flavour, readerOf(header, flavour.subject), 4)};
        if (chunk.end() > file.size()) in.truncated();
        if (form.chunks.size() == maxChunks) in.damaged();
        if (chunk.isTag() && !form.tag) form.tag = chunk;
        form.chunks.push_back(chunk);
        form.end = chunk.end();
    }
    const auto isSound = [&](const Chunk& chunk) { return chunk.id == flavour.sound; };
    if (std::ranges::none_of(form.chunks, isSound)) {
        if (headerSize + std::uint64_t{number(flavour, in, 4)} > file.size()) in.truncated();
        in.damaged();
    }
    return form;
}

/** Converts a text of WAV's INFO list to an ID3v2 frame. */
std::optional<std::string> frameFrom(std::string_view id, std::string text) {
    struct Word {
        std::string_view info;
        std::string_view frame;
        bool isNumber;
    };
    static constexpr std::array words{Word{"INAM", "TIT2", false}, Word{"IART", "TPE1", false},
                                      Word{"IPRD", "TALB", false}, Word{"ICRD", "TYER", true},
                                      Word{"IGNR", "TCON", false}, Word{"ICMT", "COMM", false},
                                      Word{"IPRT", "TRCK", true},  Word{"ITRK", "TRCK", true}};
    const auto word = std::ranges::find(words, id, &Word::info);
    if (word == words.end()) return std::nullopt;
    text.resize(std::min(text.find('\0'), text.size()));
    if (word->isNumber) text.resize(std::min(text.find_first_not_of("0123456789"), text.size()));
    return text.empty() ? std::nullopt : std::optional(id3v2::textFrame(word->frame, text::toUtf8(text)));
}

/**
 * The texts of WAV's INFO list, converted to ID3v2. Many players ignore the list once there is an ID3v2 tag.
 */
id3v2::Tag fromInfo(const SongFile& file, const Form& form) {
    id3v2::Tag tag;
    for (const Chunk& chunk : form.chunks) {
        if (chunk.id != "LIST" || file.readSome(chunk.at + headerSize, 4) != "INFO") continue;
        const std::string list = file.read(chunk.at + headerSize, chunk.size);
        const util::ByteReader in = readerOf(list, wav.subject);
        std::size_t at = 4;
        while (in.has(at, headerSize)) {
            const std::size_t size = in.littleEndian(at + 4, 4);
            if (!in.has(at + headerSize, size)) break;
            const auto frame = frameFrom(list.substr(at, 4), list.substr(at + headerSize, size));
            if (frame) tag.frames.push_back(*frame);
            at += headerSize + size + size % 2;
        }
        break;
    }
    return tag;
}

/** The tag, or what a new one starts with. */
template <const Flavour& flavour>
id3v2::Tag tagIn(const SongFile& file, const Form& form) {
    if (form.tag) return id3v2::parse(file.read(form.tag->at + headerSize, form.tag->size));
    return &flavour == &wav ? fromInfo(file, form) : id3v2::Tag();
}

template <const Flavour& flavour>
StoredTags tagsOf(const SongFile& file) {
    StoredTags tags;
    id3v2::collect(tagIn<flavour>(file, formOf(file, flavour)), tags);
    return tags;
}

template <const Flavour& flavour>
Body bodyOf(const SongFile& file) {
    const Form form = formOf(file, flavour);
    Body body;
    for (const Chunk& chunk : form.chunks) {
        if (!form.tag || chunk.at != form.tag->at) body.bytes.push_back({chunk.at, chunk.end() - chunk.at});
    }
    // The bytes after the last chunk. The padding byte that makes a size even may come and go.
    const std::uint64_t end = std::min(form.end + form.end % 2, file.size());
    body.bytes.push_back({end, file.size() - end});
    return body;
}

template <const Flavour& flavour>
std::uint64_t roomIn(const SongFile& file) {
    constexpr std::uint64_t aroundPicture = 100; // frame and chunk headers, rounded up
    const std::uint64_t used = formOf(file, flavour).end + aroundPicture;
    return used > maxForm ? 0 : maxForm - used;
}

template <const Flavour& flavour>
void writeFront(SongFile& file, const Cover& cover) {
    const Form form = formOf(file, flavour);
    id3v2::Tag tag = tagIn<flavour>(file, form);
    Range old{form.end, 0};
    std::string id(flavour.newTag);
    if (form.tag) {
        old = {form.tag->at, headerSize + form.tag->size};
        id = form.tag->id;
    }
    const auto padByte = [&](std::uint64_t at) { return at % 2 != 0 && at < file.size() ? 1U : 0U; };
    old.size += padByte(old.at + old.size);
    id3v2::setFront(tag, cover);
    const std::string content = id3v2::render(tag, id3v2::sizeOf(tag) % 2);
    std::string chunk(old.at % 2, '\0'); // the chunk before may lack its padding byte
    chunk += id + numberOf(flavour, content.size()) + content;

    const std::uint64_t formSize = form.end + padByte(form.end) - old.size + chunk.size() - headerSize;
    if (formSize > maxForm)
        throw util::Exception("The song file has no room for a cover: its format ends at 4 GB.");
    file.replace(old.at, old.size, chunk);
    file.replace(4, 4, numberOf(flavour, formSize));
}

} // namespace

const Format wavFormat{tagsOf<wav>, bodyOf<wav>, knownByItsParts, writeFront<wav>, roomIn<wav>};
const Format aiffFormat{tagsOf<aiff>, bodyOf<aiff>, knownByItsParts, writeFront<aiff>, roomIn<aiff>};

} // namespace tags
