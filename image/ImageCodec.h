// SPDX-License-Identifier: MIT
#pragma once

#include "image/ImageHeader.h"
#include "util/Buffer.h"

#include <gd.h>

#include <cstddef>
#include <memory>
#include <span>

/** Decoding, scaling and encoding with libgd. Every image is true colour: decoding converts palettes. */
namespace image {

struct PixelsDeleter {
    void operator()(gdImageStruct* pixels) const noexcept { gdImageDestroy(pixels); }
};

/** A libgd image. The functions here never return null. */
using Pixels = std::unique_ptr<gdImageStruct, PixelsDeleter>;

/**
 * Decodes a file and turns it upright.
 * @param header the result of readImageHeader() for these bytes
 * @throws util::Exception when they can't be decoded
 */
[[nodiscard]] Pixels decodePixels(std::span<const std::byte> bytes, const ImageHeader& header);

/** Scales by averaging areas. The size must be positive. @throws util::Exception when out of memory */
[[nodiscard]] Pixels scalePixels(gdImageStruct& source, int widthPixels, int heightPixels);

/** @throws util::Exception */
[[nodiscard]] util::Buffer encodePng(gdImageStruct& pixels);

/** Transparent parts become white. @throws util::Exception */
[[nodiscard]] util::Buffer encodeJpeg(gdImageStruct& pixels);

} // namespace image
