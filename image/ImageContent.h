// SPDX-License-Identifier: MIT
#pragma once

#include "image/Image.h"
#include "image/ImageHeader.h"
#include "util/Buffer.h"

#include <memory>
#include <span>

namespace image {

/** The types that a caller accepts: JPEG and PNG for uploads, all for fetched and embedded covers. */
enum class AcceptedTypes { JpegAndPng, All };

/** An image file with its bytes as they were received. `bytes` is null when there is no file. */
struct ReceivedImage {
    ImageHeader header;
    std::shared_ptr<const util::Buffer> bytes;
};

/** The library's access to the encoded file that an Image carries. */
class ImageContent {
public:
    /**
     * Decodes `received`. The image carries a copy of the bytes.
     * @throws util::Exception when the type is not accepted, a limit is exceeded, or the bytes can't be
     * decoded
     */
    static util::Image decode(std::span<const std::byte> received, const ImageLimits& limits,
                              AcceptedTypes accepted);

    /**
     * Makes an image from a PNG. Its getRawPNG() gives exactly these bytes. The pixels are decoded only when
     * they are needed.
     * @throws util::Exception when the bytes are not a PNG or not a complete one
     */
    static util::Image fromPng(util::Buffer png);

    /** The file that decode() or fromPng() made `image` from. `bytes` is null when there is none. */
    static ReceivedImage received(const util::Image& image);

    /**
     * The PNG that clients are shown for a received file. The file is decoded, turned upright by its EXIF
     * orientation and encoded. An upright PNG is not encoded again: its bytes are copied, without anything
     * that follows its end.
     * @throws util::Exception when the file exceeds a limit or can't be decoded or encoded
     */
    static util::Buffer rendition(std::span<const std::byte> received, const ImageLimits& limits);
};

} // namespace image
