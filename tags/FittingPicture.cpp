// SPDX-License-Identifier: MIT
#include "tags/FittingPicture.h"

#include "util/Exception.h"
#include "util/ImageCodec.h"
#include "util/ImageHeader.h"

#include <algorithm>
#include <limits>

namespace tags {
namespace {

/** Nobody wants to look at smaller ones. */
constexpr int minSidePixels = 200;

/** Nothing is refused here that was accepted when it came in. */
constexpr util::ImageLimits noLimits{.maxBytes = std::numeric_limits<std::size_t>::max(),
                                     .maxPixels = std::numeric_limits<std::uint64_t>::max()};

bool isFit(const util::ImageHeader& header, std::size_t bytes, const PictureLimits& limits) {
    const bool type = header.baselineJpeg ||
                      (!limits.baselineJpegOnly &&
                       (header.type == util::ImageType::Jpeg || header.type == util::ImageType::Png));
    return type && header.orientation == 1 &&
           std::max(header.widthPixels, header.heightPixels) <= limits.maxSidePixels &&
           bytes <= limits.maxBytes;
}

util::Pixels scaledTo(util::Pixels pixels, int sidePixels) {
    const int longest = std::max(pixels->sx, pixels->sy);
    if (longest <= sidePixels) return pixels;
    const auto scaled = [&](int side) {
        return std::max(1, static_cast<int>(std::int64_t{side} * sidePixels / longest));
    };
    return util::scalePixels(*pixels, scaled(pixels->sx), scaled(pixels->sy));
}

bool hasTransparentParts(const gdImageStruct& pixels) {
    for (int y = 0; y < pixels.sy; ++y) {
        const int* row = pixels.tpixels[y];
        if (std::any_of(row, row + pixels.sx, [](int pixel) { return gdTrueColorGetAlpha(pixel) != 0; }))
            return true;
    }
    return false;
}

} // namespace

util::Buffer fittingPicture(std::span<const std::byte> received, const PictureLimits& limits) {
    const util::ImageHeader header = util::readImageHeader(received, noLimits);
    if (isFit(header, received.size(), limits)) return util::Buffer(received);
    util::Pixels pixels =
        scaledTo(util::decodePixels(received.first(header.usedBytes), header), limits.maxSidePixels);
    const bool asPng = !limits.baselineJpegOnly && header.type != util::ImageType::Jpeg &&
                       (header.type == util::ImageType::Png || hasTransparentParts(*pixels));
    if (asPng)
        if (util::Buffer png = util::encodePng(*pixels); png.size() <= limits.maxBytes) return png;
    for (int side = std::max(pixels->sx, pixels->sy);; side /= 2) {
        pixels = scaledTo(std::move(pixels), side);
        if (util::Buffer jpeg = util::encodeJpeg(*pixels); jpeg.size() <= limits.maxBytes) return jpeg;
        if (side <= minSidePixels)
            throw util::Exception("The picture doesn't fit into the song file, however small it is made.");
    }
}

} // namespace tags
