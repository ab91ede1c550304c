// SPDX-License-Identifier: MIT
#include "tags/Bytes.h"
#include "tags/Formats.h"
#include "tags/Id3v2.h"
#include "util/Exception.h"

#include <algorithm>
#include <limits>
#include <optional>

namespace tags {
namespace {

constexpr std::size_t headerSize = 8;

/** RIFF files (WAV) count in little endian, IFF files (AIFF) in big endian; they are alike otherwise. */
struct Flavour {
    bool bigEndian;
    std::string_view subject;
    std::string_view sound; // the chunk that has it
    std::string_view newTag;
};
constexpr Flavour wav{false, "WAV file", "data", "id3 "};
constexpr Flavour aiff{true, "AIFF file", "SSND", "ID3 "};

struct Chunk {
    std::string id;
    std::uint64_t at = 0;
    std::uint64_t size = 0; // of its content

    [[nodiscard]] std::uint64_t end() const noexcept { return at + headerSize + size; }
    [[nodiscard]] bool isTag() const { return upperCase(id) == "ID3 "; }
};

struct Form {
    std::vector<Chunk> chunks;
    std::optional<Chunk> tag; // the first is the one that players read
    std::uint64_t end = 0;    // of the last chunk, without the byte that makes its size even
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
    if (std::ranges::none_of(form.chunks, isSound)) in.damaged();
    return form;
}

template <const Flavour& flavour>
StoredTags tagsOf(const SongFile& file) {
    const Form form = formOf(file, flavour);
    StoredTags tags;
    if (form.tag) id3v2::collect(id3v2::parse(file.read(form.tag->at + headerSize, form.tag->size)), tags);
    return tags;
}

template <const Flavour& flavour>
Body bodyOf(const SongFile& file) {
    const Form form = formOf(file, flavour);
    Body body;
    for (const Chunk& chunk : form.chunks) {
        if (!form.tag || chunk.at != form.tag->at) body.bytes.push_back({chunk.at, chunk.end() - chunk.at});
    }
    // What stands behind the last chunk; one byte is only there to make a size even, and may come and go.
    const std::uint64_t end = std::min(form.end + form.end % 2, file.size());
    body.bytes.push_back({end, file.size() - end});
    return body;
}

template <const Flavour& flavour>
void writeFront(SongFile& file, const Cover& cover) {
    const Form form = formOf(file, flavour);
    id3v2::Tag tag;
    Range old{form.end, 0};
    std::string id(flavour.newTag);
    if (form.tag) {
        tag = id3v2::parse(file.read(form.tag->at + headerSize, form.tag->size));
        old = {form.tag->at, headerSize + form.tag->size};
        id = form.tag->id;
    }
    const auto padByte = [&](std::uint64_t at) { return at % 2 != 0 && at < file.size() ? 1U : 0U; };
    old.size += padByte(old.at + old.size);
    id3v2::setFront(tag, cover);
    const std::string content = id3v2::render(tag, id3v2::sizeOf(tag) % 2);
    std::string chunk(old.at % 2, '\0'); // the chunk before may lack its own
    chunk += id + numberOf(flavour, content.size()) + content;

    const std::uint64_t formSize = form.end + padByte(form.end) - old.size + chunk.size() - headerSize;
    if (formSize > std::numeric_limits<std::uint32_t>::max())
        throw util::Exception("The song file has no room for a cover: its format ends at 4 GB.");
    file.replace(old.at, old.size, chunk);
    file.replace(4, 4, numberOf(flavour, formSize));
}

} // namespace

const Format wavFormat{tagsOf<wav>, bodyOf<wav>, writeFront<wav>};
const Format aiffFormat{tagsOf<aiff>, bodyOf<aiff>, writeFront<aiff>};

} // namespace tags
