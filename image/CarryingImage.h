// SPDX-License-Identifier: MIT
#pragma once

#include "image/ImageCodec.h"
#include "image/ImageContent.h"

#include <gd.h>

#include <memory>

namespace image {

/**
 * A libgd image that also carries the encoded file it comes from. util::Image points at one of these. An
 * image made from a file alone has its width and height, but `tpixels` is null until needPixels() is called.
 * The struct lives in a block from the C allocator, because gdImageDestroy() frees that block.
 */
struct CarryingImage : gdImageStruct {
    ReceivedImage file; // `bytes` is null for an image without a file
};

struct CarryingImageDeleter {
    void operator()(CarryingImage* image) const noexcept;
};

using CarryingImagePtr = std::unique_ptr<CarryingImage, CarryingImageDeleter>;

/** @throws std::bad_alloc */
[[nodiscard]] CarryingImagePtr carry(Pixels pixels, ReceivedImage file);

/** An image of `file` whose pixels are not decoded yet. @throws std::bad_alloc */
[[nodiscard]] CarryingImagePtr carry(ReceivedImage file);

/** A copy. It shares the file if there is one; otherwise it copies the pixels. @throws std::bad_alloc */
[[nodiscard]] CarryingImagePtr copyOf(CarryingImage& image);

/** Decodes the pixels unless they are there already. @throws util::Exception when the file is damaged */
void needPixels(CarryingImage& image);

} // namespace image
