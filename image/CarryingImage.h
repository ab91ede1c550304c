// SPDX-License-Identifier: MIT
#pragma once

#include "image/ImageCodec.h"
#include "image/ImageContent.h"

#include <gd.h>

#include <memory>

namespace image {

/**
 * What an Image points at: a libgd image that also carries the file it comes from. Until somebody asks for
 * the pixels of a file, `tpixels` is null; width and height are set all the same. It lives in a block from
 * the C allocator, so that libgd frees its part.
 */
struct CarryingImage : gdImageStruct {
    ReceivedImage file; // null bytes when the pixels are all there is
};

struct CarryingImageDeleter {
    void operator()(CarryingImage* image) const noexcept;
};

using CarryingImagePtr = std::unique_ptr<CarryingImage, CarryingImageDeleter>;

/** @throws std::bad_alloc */
[[nodiscard]] CarryingImagePtr carry(Pixels pixels, ReceivedImage file);

/** An image of `file` without pixels as yet. @throws std::bad_alloc */
[[nodiscard]] CarryingImagePtr carry(ReceivedImage file);

/** The same image once more. It shares the file, and copies pixels only where there is no file. */
[[nodiscard]] CarryingImagePtr copyOf(CarryingImage& image);

/** Decodes the pixels, if that has not been done. @throws util::Exception when the file is damaged */
void needPixels(CarryingImage& image);

} // namespace image
