// SPDX-License-Identifier: MIT
#pragma once

#include "image/Image.h"
#include "image/ImageHeader.h"
#include "util/Buffer.h"

#include <memory>
#include <span>

namespace image {

/** Which types a caller accepts: uploads are JPEG or PNG; fetched and embedded covers come in all four. */
enum class AcceptedTypes { JpegAndPng, All };

/** An image file as it came in. */
struct ReceivedImage {
    ImageHeader header;
    std::shared_ptr<const util::Buffer> bytes;
};

/** The library's own way to the encoded bytes that an Image carries. */
class ImageContent {
public:
    /**
     * Decodes `received` and lets the image carry a copy of it.
     * @throws util::Exception when it is refused or can't be decoded
     */
    static util::Image decode(std::span<const std::byte> received, const ImageLimits& limits,
                              AcceptedTypes accepted);

    /**
     * An image that is handed out as exactly these PNG bytes, decoded only when pixels are asked for.
     * @throws util::Exception when they are no PNG, or not a whole one
     */
    static util::Image fromPng(util::Buffer png);

    /** The file that `image` was made from, in either way above; null bytes where there is none. */
    static ReceivedImage received(const util::Image& image);

    /**
     * The PNG in which a received file is shown: a decode and an encode, upright by its EXIF orientation. A
     * PNG that is upright already stays as it is, to the byte, without what follows its end.
     * @throws util::Exception when it can't be decoded or encoded
     */
    static util::Buffer rendition(std::span<const std::byte> received, const ImageLimits& limits);
};

} // namespace image
