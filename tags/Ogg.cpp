// SPDX-License-Identifier: MIT
#include "tags/Bytes.h"
#include "tags/Formats.h"
#include "tags/Xiph.h"
#include "util/Exception.h"

#include <algorithm>
#include <array>
#include <limits>

namespace tags {
namespace {

constexpr std::string_view subject = "Ogg file";
constexpr std::size_t fixedSize = 27; // of a page's header without the segment table
constexpr std::size_t maxSegments = 255;
constexpr std::size_t sequenceAt = 18;
constexpr std::size_t checksumAt = 22;
constexpr std::uint32_t continued = 0x01;
constexpr std::uint32_t firstOfStream = 0x02;
constexpr std::uint32_t lastOfStream = 0x04;
constexpr std::uint64_t nothingEnds = std::numeric_limits<std::uint64_t>::max(); // no packet ends on the page

struct Page {
    std::uint64_t at = 0;
    std::uint32_t flags = 0;
    std::uint64_t position = 0;
    std::uint32_t serial = 0;
    std::uint32_t sequence = 0;
    std::string segments;
    std::uint64_t bodySize = 0;

    [[nodiscard]] std::uint64_t bodyAt() const noexcept { return at + fixedSize + segments.size(); }
    [[nodiscard]] std::uint64_t end() const noexcept { return bodyAt() + bodySize; }
};

Page pageAt(const SongFile& file, std::uint64_t at) {
    const std::string header = file.readSome(at, fixedSize + maxSegments);
    const util::ByteReader in = readerOf(header, subject);
    if (!in.has(0, fixedSize)) in.truncated();
    if (!in.matches(0, "OggS") || in.byte(4) != 0) in.damaged();
    Page page{.at = at,
              .flags = in.byte(5),
              .position = littleEndian64(in, 6),
              .serial = in.littleEndian(14, 4),
              .sequence = in.littleEndian(sequenceAt, 4),
              .segments = {},
              .bodySize = 0};
    const std::size_t count = in.byte(26);
    if (!in.has(fixedSize, count)) in.truncated();
    page.segments = header.substr(fixedSize, count);
    for (const char size : page.segments)
        page.bodySize += static_cast<unsigned char>(size);
    if (page.end() > file.size()) in.truncated();
    return page;
}

constexpr std::array<std::uint32_t, 256> checksumTable = [] {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t i = 0; i < table.size(); ++i) {
        std::uint32_t sum = i << 24U;
        for (int bit = 0; bit < 8; ++bit)
            sum = sum << 1U ^ ((sum & 0x80000000U) != 0 ? 0x04C11DB7U : 0U);
        table.at(i) = sum;
    }
    return table;
}();

/** A page's checksum, computed with zeros in the checksum field. */
std::string checksumOf(std::string page) {
    page.replace(checksumAt, 4, 4, '\0');
    std::uint32_t sum = 0;
    for (const char c : page)
        sum = sum << 8U ^ checksumTable[(sum >> 24U ^ static_cast<unsigned char>(c)) & 0xFFU];
    return littleEndian(sum, 4);
}

/** The differences between the codecs in Ogg. */
struct Codec {
    std::string_view marker;        // start of the first packet
    std::string_view beforeComment; // bytes before the comment header in the second packet
    std::size_t headers;            // number of packets before the sound; 0: the last one is marked as last
};
using namespace std::string_view_literals;
constexpr std::array codecs{
    Codec{"\x01vorbis"sv, "\x03vorbis"sv, 3},
    Codec{"OpusHead"sv, "OpusTags"sv, 2},
    Codec{"Speex   "sv, ""sv, 2},
    Codec{"\x7F"
          "FLAC"sv,
          ""sv, 0},
};

struct Headers {
    Codec codec;
    Page first;
    std::vector<std::string> packets; // without the first one, which has a page of its own
    std::uint64_t end = 0;
    std::uint32_t nextSequence = 0;
};

Codec codecOf(const SongFile& file, const Page& first) {
    const std::string packet = file.read(first.bodyAt(), first.bodySize);
    const util::ByteReader in = readerOf(packet, subject);
    const auto codec =
        std::ranges::find_if(codecs, [&](const Codec& one) { return in.matches(0, one.marker); });
    if (codec == codecs.end()) in.unsupported();
    Codec found = *codec;
    constexpr std::size_t speexExtraAt = 68;
    if (found.marker.starts_with("Speex")) found.headers += std::min(in.littleEndian(speexExtraAt, 4), 10U);
    return found;
}

bool complete(const Headers& headers) {
    if (headers.packets.empty()) return false;
    if (headers.codec.headers != 0) return headers.packets.size() + 1 == headers.codec.headers;
    const std::string& last = headers.packets.back();
    return last.empty() || (static_cast<unsigned char>(last[0]) & 0x80U) != 0;
}

Headers headersOf(const SongFile& file) {
    const util::ByteReader in = readerOf({}, subject);
    const Page first = pageAt(file, 0);
    if ((first.flags & firstOfStream) == 0) in.damaged();
    Headers headers{codecOf(file, first), first, {}, first.end(), first.sequence + 1};
    std::string packet;
    while (!complete(headers)) {
        const Page page = pageAt(file, headers.end);
        if (page.serial != first.serial || page.segments.empty()) in.unsupported(); // several streams at once
        const std::string body = file.read(page.bodyAt(), page.bodySize);
        // Some programs lose the mark on the last FLAC block. A packet that begins with FF can only be sound.
        if (headers.codec.headers == 0 && !headers.packets.empty() && packet.empty() &&
            body.starts_with('\xFF'))
            break;
        std::size_t at = 0;
        for (const char segment : page.segments) {
            if (complete(headers)) in.unsupported(); // no codec allows sound on a header page
            const std::size_t size = static_cast<unsigned char>(segment);
            packet.append(body, at, size);
            at += size;
            if (size < maxSegments) headers.packets.push_back(std::exchange(packet, {}));
        }
        headers.end = page.end();
        headers.nextSequence = page.sequence + 1;
        if (headers.end > maxTagBytes) throw util::Exception("The tags of the song file are too large.");
    }
    if (!packet.empty()) in.unsupported();
    return headers;
}

constexpr std::size_t blockHeader = 4; // of a FLAC block; each header packet of Ogg FLAC is one

constexpr std::size_t maxBlock = 0xFFFFFF;

bool isFlac(const Headers& headers) { return headers.codec.headers == 0; }

/** Whether a header packet of Ogg FLAC is a block of this type. */
bool isBlock(const std::string& packet, std::uint32_t type) {
    const util::ByteReader in = readerOf(packet, subject);
    return in.has(0, blockHeader) && (in.byte(0) & 0x7FU) == type;
}
constexpr std::uint32_t paddingBlock = 1;
constexpr std::uint32_t pictureBlock = 6;

Picture pictureIn(const std::string& packet) {
    return xiph::pictureIn(std::string_view(packet).substr(blockHeader));
}

/** The number of bytes before the comment header in its packet. */
std::size_t prefixOf(const Headers& headers) {
    const util::ByteReader in = readerOf(headers.packets.front(), subject);
    if (!in.matches(0, headers.codec.beforeComment)) in.damaged();
    if (headers.codec.headers != 0) return headers.codec.beforeComment.size();
    constexpr std::uint32_t commentBlock = 4;
    if ((in.byte(0) & 0x7FU) != commentBlock || in.size() < blockHeader) in.unsupported();
    return blockHeader;
}

xiph::Comment commentOf(const Headers& headers) {
    return xiph::parse(std::string_view(headers.packets.front()).substr(prefixOf(headers)));
}

StoredTags tagsOf(const SongFile& file) {
    const Headers headers = headersOf(file);
    StoredTags tags;
    xiph::collect(commentOf(headers), tags);
    if (!isFlac(headers)) return tags;
    for (const std::string& packet : headers.packets) {
        if (isBlock(packet, pictureBlock)) tags.pictures.push_back(pictureIn(packet));
    }
    return tags;
}

/** Calls `visit` with every page from `at` to the end of the file. */
template <typename Visit>
void forEachPage(const SongFile& file, std::uint64_t at, Visit visit) {
    while (at < file.size()) {
        const Page page = pageAt(file, at);
        visit(page);
        at = page.end();
    }
}

/**
 * Whether a page belongs to the stream with the tags. Its pages get new numbers when the headers grow. Call
 * it for every page, in order.
 */
class InStream {
public:
    explicit InStream(std::uint32_t serial) : serial_(serial) {}
    bool operator()(const Page& page) {
        if (page.serial == serial_ && (page.flags & firstOfStream) != 0) ended_ = true; // a chained stream
        const bool in = !ended_ && page.serial == serial_;
        if (in && (page.flags & lastOfStream) != 0) ended_ = true;
        return in;
    }

private:
    std::uint32_t serial_;
    bool ended_ = false;
};

/**
 * The body covers the content, position and flags of every page. Checksums and page numbers must be right
 * too, because players drop a page with a wrong one.
 */
Body bodyOf(const SongFile& file) {
    const Headers headers = headersOf(file);
    Body body{.bytes = {{0, headers.first.end()}}, .layout = {}};
    for (std::size_t i = 1; i < headers.packets.size(); ++i) {
        const std::string& packet = headers.packets[i];
        if (isFlac(headers) && (isBlock(packet, pictureBlock) || isBlock(packet, paddingBlock))) continue;
        body.layout += littleEndian(packet.size(), 4) + packet;
    }
    InStream inStream(headers.first.serial);
    forEachPage(file, headers.first.end(), [&](const Page& page) {
        const std::string bytes = file.read(page.at, page.end() - page.at);
        if (bytes.compare(checksumAt, 4, checksumOf(bytes)) != 0) readerOf({}, subject).damaged();
        if (page.at < headers.end) return;
        if (page.bodySize != 0) body.bytes.push_back({page.bodyAt(), page.bodySize});
        if (body.layout.size() > maxTagBytes) throw util::Exception("The Ogg file has too many pages.");
        const std::uint32_t sequence = page.sequence - (inStream(page) ? headers.nextSequence : 0);
        body.layout += littleEndian(page.flags, 1) + littleEndian(page.position, 8) +
                       littleEndian(page.serial, 4) + littleEndian(sequence, 4) + page.segments;
    });
    return body;
}

/**
 * The lengths of packets in a segment table: as many bytes of 255 as fit, then a smaller byte that ends the
 * packet.
 */
std::string segmentsOf(const std::vector<std::string>& packets) {
    std::string segments;
    for (const std::string& packet : packets) {
        segments.append(packet.size() / maxSegments, '\xFF');
        segments += static_cast<char>(packet.size() % maxSegments);
    }
    return segments;
}

/** @param first the page before the new ones */
std::vector<std::string> pagesOf(const std::vector<std::string>& packets, const Page& first) {
    std::string bodies;
    for (const std::string& packet : packets)
        bodies += packet;
    const std::string segments = segmentsOf(packets);
    std::vector<std::string> pages;
    std::size_t bodyAt = 0;
    for (std::size_t at = 0; at < segments.size(); at += maxSegments) {
        const std::string table = segments.substr(at, maxSegments);
        std::size_t size = 0;
        for (const char segment : table)
            size += static_cast<unsigned char>(segment);
        const bool continues = at != 0 && segments[at - 1] == '\xFF';
        const bool ends = table.find_first_not_of('\xFF') != std::string::npos;
        std::string page = "OggS" + littleEndian(0, 1) + littleEndian(continues ? continued : 0, 1) +
                           littleEndian(ends ? 0 : nothingEnds, 8) + littleEndian(first.serial, 4) +
                           littleEndian(first.sequence + 1 + pages.size(), 4) + littleEndian(0, 4) +
                           littleEndian(table.size(), 1) + table + bodies.substr(bodyAt, size);
        page.replace(checksumAt, 4, checksumOf(page));
        pages.push_back(std::move(page));
        bodyAt += size;
    }
    return pages;
}

void renumber(SongFile& file, const Headers& headers, std::uint32_t by) {
    InStream inStream(headers.first.serial);
    forEachPage(file, headers.end, [&](const Page& page) {
        if (!inStream(page)) return;
        std::string bytes = file.read(page.at, page.end() - page.at);
        bytes.replace(sequenceAt, 4, littleEndian(page.sequence + by, 4));
        bytes.replace(checksumAt, 4, checksumOf(bytes));
        file.replace(page.at + sequenceAt, 8, std::string_view(bytes).substr(sequenceAt, 8));
    });
}

/** In Ogg FLAC the comment is a block of limited size. Other pictures in it count too, in Base64. */
std::uint64_t roomIn(const SongFile& file) {
    const Headers headers = headersOf(file);
    if (!isFlac(headers)) return unlimitedRoom(file);
    xiph::Comment comment = commentOf(headers);
    xiph::setFront(comment, {.image = {}, .mime = "image/jpeg"});
    const std::size_t used = xiph::render(comment).size();
    return used > maxBlock ? 0 : (maxBlock - used) / 4 * 3;
}

void writeFront(SongFile& file, const Cover& cover) {
    Headers headers = headersOf(file);
    xiph::Comment comment = commentOf(headers);
    xiph::setFront(comment, cover);
    const std::string content = xiph::render(comment);
    std::string prefix = headers.packets.front().substr(0, prefixOf(headers));
    if (isFlac(headers)) {
        if (content.size() > maxBlock)
            throw util::Exception("The picture is too large for a FLAC file, which takes less than 16 MB.");
        prefix.replace(1, 3, bigEndian(content.size(), 3));
        for (std::string& packet : headers.packets) { // emptied, not removed: another field counts them
            if (isBlock(packet, pictureBlock) && pictureIn(packet).front)
                packet = bigEndian((readerOf(packet, subject).byte(0) & 0x80U) | paddingBlock, 1) +
                         std::string(3, '\0');
        }
    }
    headers.packets.front() = prefix + content;
    const std::vector<std::string> pages = pagesOf(headers.packets, headers.first);
    const std::uint32_t by =
        headers.first.sequence + 1 + static_cast<std::uint32_t>(pages.size()) - headers.nextSequence;
    if (by != 0) renumber(file, headers, by);
    std::string head;
    for (const std::string& page : pages)
        head += page;
    file.replace(headers.first.end(), headers.end - headers.first.end(), head);
}

void checkWhole(const SongFile& file) {
    forEachPage(file, headersOf(file).end, [](const Page& /*page*/) {});
}

} // namespace

const Format oggFormat{tagsOf, bodyOf, checkWhole, writeFront, roomIn};

} // namespace tags
