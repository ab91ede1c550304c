// SPDX-License-Identifier: MIT
#include "tags/FittingPicture.h"

#include "image/ImageCodec.h"
#include "util/Exception.h"

#include <algorithm>
#include <cstdint>

namespace tags {
namespace {

/** Smaller pictures are of no use. */
constexpr int minSidePixels = 200;

image::Pixels scaledTo(image::Pixels pixels, int sidePixels) {
    const int longest = std::max(pixels->sx, pixels->sy);
    if (longest <= sidePixels) return pixels;
    const auto shorter = [&](int side) {
        return std::max(1, static_cast<int>(std::int64_t{side} * sidePixels / longest));
    };
    return image::scalePixels(*pixels, shorter(pixels->sx), shorter(pixels->sy));
}

bool hasTransparentParts(const gdImageStruct& pixels) {
    for (int y = 0; y < pixels.sy; ++y) {
        const int* row = pixels.tpixels[y];
        if (std::any_of(row, row + pixels.sx, [](int pixel) { return gdTrueColorGetAlpha(pixel) != 0; }))
            return true;
    }
    return false;
}

util::Buffer scaled(std::span<const std::byte> received, const PictureLimits& limits) {
    const image::ImageHeader header = image::readImageHeader(received, whateverWasAccepted);
    image::Pixels pixels =
        scaledTo(image::decodePixels(received.first(header.usedBytes), header), limits.maxSidePixels);
    const bool asPng = !limits.baselineJpegOnly && header.type != image::ImageType::Jpeg &&
                       (header.type == image::ImageType::Png || hasTransparentParts(*pixels));
    if (asPng)
        if (util::Buffer png = image::encodePng(*pixels); png.size() <= limits.maxBytes) return png;
    for (int side = std::max(pixels->sx, pixels->sy);; side /= 2) {
        pixels = scaledTo(std::move(pixels), side);
        if (util::Buffer jpeg = image::encodeJpeg(*pixels); jpeg.size() <= limits.maxBytes) return jpeg;
        if (side <= minSidePixels)
            throw util::Exception("The picture doesn't fit into the song file, however small it is made.");
    }
}

} // namespace

util::Buffer fittingPicture(std::span<const std::byte> received, const PictureLimits& limits) {
    return fits(received, limits) ? util::Buffer(received) : scaled(received, limits);
}

} // namespace tags
