// SPDX-License-Identifier: MIT
#include "image/CarryingImage.h"

#include <cstdlib>
#include <new>
#include <utility>

namespace image {
namespace {

CarryingImagePtr blankImage() {
    // NOLINTNEXTLINE(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
    void* block = std::malloc(sizeof(CarryingImage));
    if (block == nullptr) throw std::bad_alloc();
    return CarryingImagePtr(::new (block) CarryingImage{});
}

/** Moves libgd's struct into `image`. Frees only the source's outer block: `image` owns the rows now. */
void adopt(CarryingImage& image, Pixels pixels) noexcept {
    static_cast<gdImageStruct&>(image) = *pixels;
    gdFree(pixels.release());
}

} // namespace

void CarryingImageDeleter::operator()(CarryingImage* image) const noexcept {
    std::destroy_at(&image->file); // only this member: gdImageDestroy() still reads the others
    gdImageDestroy(image);
}

CarryingImagePtr carry(Pixels pixels, ReceivedImage file) {
    CarryingImagePtr image = blankImage();
    adopt(*image, std::move(pixels));
    image->file = std::move(file);
    return image;
}

CarryingImagePtr carry(ReceivedImage file) {
    CarryingImagePtr image = blankImage();
    const bool transposed = file.header.orientation >= 5;
    image->sx = transposed ? file.header.heightPixels : file.header.widthPixels;
    image->sy = transposed ? file.header.widthPixels : file.header.heightPixels;
    image->file = std::move(file);
    return image;
}

CarryingImagePtr copyOf(CarryingImage& image) {
    if (image.file.bytes) return carry(image.file);
    Pixels pixels(gdImageClone(&image));
    if (!pixels) throw std::bad_alloc();
    return carry(std::move(pixels), {});
}

void needPixels(CarryingImage& image) {
    if (image.tpixels == nullptr) adopt(image, decodePixels(image.file.bytes->bytes(), image.file.header));
}

} // namespace image
