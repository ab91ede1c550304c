// SPDX-License-Identifier: MIT
#include "tags/FrontCover.h"

#include "image/ImageHeader.h"
#include "tags/Bytes.h"
#include "tags/Container.h"
#include "util/Exception.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <string_view>

namespace tags {
namespace {

std::string_view textOf(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/** Recognised by content, because many files have a wrong MIME type or none. */
bool isImage(const std::string& bytes) {
    const util::ByteReader in = readerOf(bytes, "picture");
    return in.matches(0, "\xFF\xD8\xFF") || in.matches(0, "\x89PNG\r\n\x1A\n") || in.matches(0, "GIF8") ||
           (in.matches(0, "RIFF") && in.matches(8, "WEBP"));
}

StoredTags tagsOf(const SongFile& file) { return formatOf(containerOf(file)).tagsOf(file); }

/** The picture that players show; null if there is none. */
const Picture* shown(const StoredTags& tags) {
    const auto usable = [](const Picture& picture) { return isImage(picture.image); };
    auto found = std::ranges::find_if(
        tags.pictures, [&](const Picture& picture) { return picture.front && usable(picture); });
    if (found == tags.pictures.end()) found = std::ranges::find_if(tags.pictures, usable);
    return found == tags.pictures.end() ? nullptr : &*found;
}

Cover coverFrom(std::span<const std::byte> picture, std::size_t maxBytes) {
    if (picture.size() > maxBytes)
        throw util::Exception(
            fmt::format("The picture is larger than the {} bytes that the song file takes.", maxBytes));
    const image::ImageHeader header = image::readImageHeader(picture, {});
    const bool png = header.type == image::ImageType::Png;
    if (!png && header.type != image::ImageType::Jpeg)
        throw util::Exception("Only JPEG and PNG images can be written into song files.");
    constexpr std::size_t colourTypeAt = 25;
    constexpr std::byte alpha{0x04};
    const bool transparent = png && (picture[colourTypeAt] & alpha) == alpha;
    return {.image = textOf(picture),
            .mime = image::mimeType(header.type),
            .png = png,
            .width = static_cast<std::uint32_t>(header.widthPixels),
            .height = static_cast<std::uint32_t>(header.heightPixels),
            .bitsPerPixel = transparent ? 32U : 24U};
}

std::size_t roomIn(const SongFile& file) {
    const Container container = containerOf(file);
    const std::uint64_t room = formatOf(container).roomIn(file);
    return static_cast<std::size_t>(std::min<std::uint64_t>(maxPictureBytes(container), room));
}

} // namespace

util::Buffer readFrontCover(const std::filesystem::path& song) {
    const StoredTags tags = tagsOf(SongFile(song));
    const Picture* picture = shown(tags);
    return picture == nullptr ? util::Buffer() : util::Buffer(std::as_bytes(std::span(picture->image)));
}

bool alreadyHas(const std::filesystem::path& song, std::span<const std::byte> picture) {
    const StoredTags tags = tagsOf(SongFile(song));
    const Picture* first = shown(tags);
    return first != nullptr && first->image == textOf(picture) &&
           std::ranges::all_of(tags.pictures, [&](const Picture& other) {
               return !other.front || other.image == textOf(picture);
           });
}

std::size_t maxPictureBytes(const std::filesystem::path& song) { return roomIn(SongFile(song)); }

void writeFrontCover(const std::filesystem::path& song, std::span<const std::byte> picture,
                     const util::FileDescriptor& copy) {
    SongFile file(song);
    const Format& format = formatOf(containerOf(file));
    format.checkWhole(file);
    format.writeFront(file, coverFrom(picture, roomIn(file)));
    file.writeTo(copy);
}

} // namespace tags
