// SPDX-License-Identifier: MIT
#include "image/ImageContent.h"

#include "image/CarryingImage.h"
#include "util/Exception.h"

#include <limits>
#include <utility>

namespace image {
namespace {

/**
 * For images that the library itself has encoded. Their originals were checked against the limits when
 * they were first decoded.
 */
constexpr ImageLimits noLimits{std::numeric_limits<std::size_t>::max(),
                               std::numeric_limits<std::uint64_t>::max()};

} // namespace

util::Image ImageContent::decode(std::span<const std::byte> received, const ImageLimits& limits,
                                 AcceptedTypes accepted) {
    const ImageHeader header = readImageHeader(received, limits);
    const bool upload = header.type == ImageType::Jpeg || header.type == ImageType::Png;
    if (accepted == AcceptedTypes::JpegAndPng && !upload)
        throw util::Exception("Only JPEG and PNG images are accepted.");
    Pixels pixels = decodePixels(received, header);
    util::Image image;
    image.gdImage =
        carry(std::move(pixels), {header, std::make_shared<const util::Buffer>(received)}).release();
    return image;
}

util::Image ImageContent::fromPng(util::Buffer png) {
    ImageHeader header = readImageHeader(png.bytes(), noLimits);
    if (header.type != ImageType::Png) throw util::Exception("The stored image is not a PNG.");
    header.orientation = 1;
    header.usedBytes = png.size();
    util::Image image;
    image.gdImage = carry({header, std::make_shared<const util::Buffer>(std::move(png))}).release();
    return image;
}

ReceivedImage ImageContent::received(const util::Image& image) {
    if (!image.isValid()) return {};
    return static_cast<const CarryingImage*>(image.gdImage)->file;
}

util::Buffer ImageContent::rendition(std::span<const std::byte> received, const ImageLimits& limits) {
    const ImageHeader header = readImageHeader(received, limits);
    if (header.type == ImageType::Png && header.orientation == 1)
        return util::Buffer(received.first(header.usedBytes));
    return encodePng(*decodePixels(received, header));
}

} // namespace image
