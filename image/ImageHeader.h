// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace image {

enum class ImageType { Jpeg, Png, Webp, Gif };

[[nodiscard]] std::string_view mimeType(ImageType type) noexcept;

/** The largest images that are decoded. */
struct ImageLimits {
    std::size_t maxBytes = std::size_t{32} * 1024 * 1024;
    std::uint64_t maxPixels = 64'000'000;
};

/** The properties of an encoded image, read without decoding a pixel. */
struct ImageHeader {
    ImageType type = ImageType::Png;
    int widthPixels = 0;       // as encoded, before the orientation is applied
    int heightPixels = 0;      // likewise
    int orientation = 1;       // EXIF orientation, 1 to 8; 1 is upright
    bool baselineJpeg = false; // not progressive, and grey or YCbCr: every decoder reads that
    std::size_t usedBytes = 0; // the length of the image; further bytes don't belong to it
};

/**
 * Detects the type by the content and reads the header. Checks every offset and length in it.
 * @throws util::Exception when the image has none of the four types, is damaged or truncated, or exceeds a
 * limit
 */
[[nodiscard]] ImageHeader readImageHeader(std::span<const std::byte> bytes, const ImageLimits& limits);

} // namespace image
