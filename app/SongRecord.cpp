// SPDX-License-Identifier: MIT
#include "app/SongRecord.h"

#include "text/Utf8.h"
#include "util/Exception.h"

#include <fmt/format.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace app {
namespace {

// Longer than any name and any path; a text beyond it is an attack or a mistake, and would bloat the index.
constexpr std::size_t maxNameBytes = 1024;
constexpr std::size_t maxLocationBytes = 4096;

// The length counts as it is stored, so that what has been stored once is accepted again.
std::string kept(std::string_view what, const std::string& text, std::size_t maxBytes = maxNameBytes) {
    std::string utf8 = text.size() > maxBytes ? text : text::toUtf8(text);
    if (utf8.size() > maxBytes)
        throw util::Exception(fmt::format("The {} is longer than {} bytes.", what, maxBytes));
    return utf8;
}

} // namespace

store::Record recordOf(const SongInfo& song) {
    return {.artist = kept("artist", song.getArtist()),
            .title = kept("title", song.getTitle()),
            .album = kept("album", song.getAlbum()),
            .genre = kept("genre", song.getGenre()),
            .songFilename = kept("file name", song.getFilename(), maxLocationBytes),
            .uid = kept("unique id", song.getUid()),
            .imageUrl = kept("image URL", song.getImageUrl(), maxLocationBytes),
            .sampler = song.isSampler()};
}

void complete(SongInfo& song, const store::Entry& entry) {
    const store::Record& record = entry.record;
    song.setCacheId(entry.id);
    if (song.getArtist().empty()) song.setArtist(record.artist);
    if (song.getTitle().empty()) song.setTitle(record.title);
    if (song.getAlbum().empty()) song.setAlbum(record.album);
    if (song.getGenre().empty()) song.setGenre(record.genre);
    if (song.getFilename().empty()) song.setFilename(record.songFilename);
    if (song.getUid().empty()) song.setUid(record.uid);
    if (song.getImageUrl().empty()) song.setImageUrl(record.imageUrl);
}

image::ReceivedImage receivedImage(util::Image& image) {
    image::ReceivedImage received = image::ImageContent::received(image);
    if (received.bytes) return received;
    void* data = nullptr;
    std::size_t size = 0;
    if (!image.getRawPNG(&data, size)) throw util::Exception("The cover could not be encoded as PNG.");
    received.bytes = std::make_shared<const util::Buffer>(data, size);
    received.header = {.type = image::ImageType::Png,
                       .widthPixels = image.width(),
                       .heightPixels = image.height(),
                       .orientation = 1,
                       .usedBytes = size};
    return received;
}

store::NewImage newImage(const image::ImageHeader& header, std::span<const std::byte> bytes) {
    const bool upright = header.orientation == 1;
    const bool lies = header.orientation >= 5;
    return {.bytes = bytes,
            .mimeType = std::string(image::mimeType(header.type)),
            .widthPixels = lies ? header.heightPixels : header.widthPixels,
            .heightPixels = lies ? header.widthPixels : header.heightPixels,
            .shownAsReceived =
                header.type == image::ImageType::Png && upright && header.usedBytes == bytes.size()};
}

} // namespace app
