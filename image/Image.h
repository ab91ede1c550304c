// SPDX-License-Identifier: MIT
#pragma once

#include <gd.h>

#include <cstddef>

namespace image {
class ImageContent;
}

namespace util {

/**
 * A cover image. It owns one libgd image, which also carries the encoded bytes that it came from; an image
 * out of the store has only those, and its pixels are decoded when somebody asks for them. Copying copies the
 * image, and is cheap where there are encoded bytes, which copies share. What fails says why on standard
 * error. One thread at a time.
 */
class Image {
public:
    /** No image. */
    Image();

    /** Like set(); an image that can't be decoded leaves the object without an image. */
    Image(const void* data, unsigned int length);

    Image(const Image& other);

    /** A copy of `*other`; no image when `other` is null. */
    explicit Image(Image* other);

    Image& operator=(const Image& other);
    ~Image();

    /** True when an image is loaded. */
    bool isValid() const;

    /** Pixels; 0 without an image. */
    int width() const;
    int height() const;

    /** Reads the image file `path` (type by content). False, and unchanged, when that fails. */
    bool load(const char* path);

    /** Writes a PNG, or a JPEG where `path` ends in .jpg or .jpeg (in any case), as a whole or not at all. */
    bool save(const char* path);

    /** Decodes JPEG, PNG, WebP or GIF bytes, of which it keeps a copy. False, and unchanged, when that fails.
     */
    bool set(const void* data, unsigned int length);

    /** Scales to exactly this size. False without an image or with a size that is not positive. */
    bool resample(int widthPixels, int heightPixels);

    /**
     * Fits the image into `widthPixels` x `heightPixels`, keeping its proportions.
     * @param enlarge also scale up an image that is smaller than that
     */
    bool resize(int widthPixels, int heightPixels, bool enlarge);

    /**
     * The image as PNG, in a block from the C allocator that the caller frees. What was made from an upright
     * PNG comes out as that file, to the byte.
     * @return false, and `*data` null, without an image or when it can't be encoded
     */
    bool getRawPNG(void** data, std::size_t& size);

    /** Like getRawPNG(), for JPEG. Transparent parts become white. */
    bool getRawJPG(void** data, std::size_t& size);

private:
    friend class image::ImageContent; // the library's way to the encoded bytes (image/ImageContent.h)

    gdImagePtr gdImage;
};

} // namespace util
