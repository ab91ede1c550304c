// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace image {

enum class ImageType { Jpeg, Png, Webp, Gif };

[[nodiscard]] std::string_view mimeType(ImageType type) noexcept;

/** What a decoder may be asked to do. */
struct ImageLimits {
    std::size_t maxBytes = std::size_t{32} * 1024 * 1024;
    std::uint64_t maxPixels = 64'000'000;
};

/** What an encoded image says of itself, read without decoding a pixel. */
struct ImageHeader {
    ImageType type = ImageType::Png;
    int widthPixels = 0;       // as encoded, before the orientation is applied
    int heightPixels = 0;      // likewise
    int orientation = 1;       // EXIF orientation, 1 to 8; 1 is upright
    bool baselineJpeg = false; // what every decoder reads: not progressive, and grey or YCbCr
    std::size_t usedBytes = 0; // the length of the image itself; what follows is no part of it
};

/**
 * Tells the type by content and reads the header, with every offset and length in it checked.
 * @throws util::Exception when it is none of the four types, damaged, truncated, or over a limit
 */
[[nodiscard]] ImageHeader readImageHeader(std::span<const std::byte> bytes, const ImageLimits& limits);

} // namespace image
