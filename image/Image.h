// SPDX-License-Identifier: MIT
#pragma once

#include <gd.h>

#include <cstddef>

namespace image {
class ImageContent;
}

namespace util {

/**
 * A cover image. It owns one libgd image and carries the encoded file that the image came from. An image from
 * the store holds only the encoded file; its pixels are decoded when they are first needed. A copy shares the
 * encoded file, so copying is cheap; only an image without a file copies its pixels. A failing function logs
 * the reason to standard error. One thread at a time.
 */
class Image {
public:
    /** Holds no image. */
    Image();

    /** Like set(). Holds no image when the bytes can't be decoded. */
    Image(const void* data, unsigned int length);

    Image(const Image& other);

    /** A copy of `*other`; no image when `other` is null. */
    explicit Image(Image* other);

    Image& operator=(const Image& other);
    ~Image();

    /** Whether the object holds an image. */
    bool isValid() const;

    /** In pixels; 0 without an image. */
    int width() const;
    int height() const;

    /**
     * Reads the image file `path`. The content decides the type, not the name.
     * @return false, and the object is unchanged, when that fails
     */
    bool load(const char* path);

    /**
     * Writes a JPEG if `path` ends in .jpg or .jpeg (in any case), otherwise a PNG. The file is replaced
     * atomically.
     * @return false, and the old file is unchanged, when that fails
     */
    bool save(const char* path);

    /**
     * Decodes JPEG, PNG, WebP or GIF bytes and keeps a copy of them.
     * @return false, and the object is unchanged, when that fails
     */
    bool set(const void* data, unsigned int length);

    /**
     * Scales to exactly this size.
     * @return false without an image, with a size that is not positive or too large, or when scaling fails
     */
    bool resample(int widthPixels, int heightPixels);

    /**
     * Fits the image into `widthPixels` x `heightPixels`, keeping its proportions.
     * @param enlarge also scale up a smaller image; otherwise a smaller image stays as it is
     * @return false as resample() does
     */
    bool resize(int widthPixels, int heightPixels, bool enlarge);

    /**
     * The image as PNG, in a block from the C allocator; the caller frees it with free(). An image made from
     * an upright PNG file gives that file's own bytes, without anything that follows its end.
     * @return false, with `*data` null and `size` 0, without an image or when it can't be encoded
     */
    bool getRawPNG(void** data, std::size_t& size);

    /** Like getRawPNG(), for JPEG. Transparent parts become white. */
    bool getRawJPG(void** data, std::size_t& size);

private:
    friend class image::ImageContent; // reads and sets the encoded bytes (image/ImageContent.h)

    gdImagePtr gdImage;
};

} // namespace util
