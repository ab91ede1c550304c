// SPDX-License-Identifier: MIT
#include "image/ImageCodec.h"

#include "image/PngChunks.h"
#include "util/Exception.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <string>
#include <utility>

namespace image {
namespace {

/**
 * zlib's level. It is low because the first request for a cover waits for the encoding. Measured at
 * 1000 x 1000 pixels:
 * - smooth photo: level 2 takes 43 ms for 1.02 MB, level 4 takes 67 ms for 0.92 MB, level 6 takes 189 ms for
 *   0.87 MB;
 * - grainy photo: level 2 takes 65 ms for 2.09 MB; levels above 3 take 105 ms and give 4 % more bytes.
 */
constexpr int pngLevel = 2;
constexpr int jpegQuality = 90;

/**
 * Drops libgd's own messages. They may quote hostile bytes, and they add nothing: this file turns every
 * failure into an exception.
 */
void ignoreMessage(int /*priority*/, const char* /*format*/, std::va_list /*arguments*/) noexcept {}

void silenceGd() { [[maybe_unused]] static const bool once = (gdSetErrorMethod(ignoreMessage), true); }

Pixels blankPixels(int width, int height) {
    Pixels pixels(gdImageCreateTrueColor(width, height));
    if (!pixels) throw util::Exception("There is not enough memory for the image.");
    gdImageAlphaBlending(pixels.get(), 0);
    return pixels;
}

/**
 * A copy of `png` with only the chunks that make up the picture. The decoder would unpack the other ones,
 * such as texts and colour profiles, and print warnings about them.
 */
util::Buffer withoutAncillaryChunks(std::span<const std::byte> png) {
    util::Buffer kept(png.size());
    std::byte* end = std::ranges::copy(png.first(PngChunks::signature.size()), kept.data()).out;
    PngChunks chunks(png);
    while (const std::optional<PngChunk> chunk = chunks.next()) {
        const bool critical = chunk->type[0] >= 'A' && chunk->type[0] <= 'Z';
        if (critical || chunk->type == "tRNS") end = std::ranges::copy(chunk->whole, end).out;
    }
    const auto size = static_cast<std::size_t>(end - kept.data());
    return {kept.release(), size};
}

using Decoder = gdImagePtr (*)(int, void*);

Pixels decodeWith(Decoder decoder, std::span<const std::byte> bytes) {
    if (!std::in_range<int>(bytes.size())) return nullptr;
    return Pixels(
        decoder(static_cast<int>(bytes.size()), const_cast<std::byte*>(bytes.data()))); // libgd only reads
}

Pixels decodeAny(std::span<const std::byte> bytes, ImageType type) {
    switch (type) {
    case ImageType::Jpeg:
        return decodeWith(gdImageCreateFromJpegPtr, bytes);
    case ImageType::Png:
        return decodeWith(gdImageCreateFromPngPtr, withoutAncillaryChunks(bytes).bytes());
    case ImageType::Webp:
        return decodeWith(gdImageCreateFromWebpPtr, bytes);
    case ImageType::Gif:
        return decodeWith(gdImageCreateFromGifPtr, bytes);
    }
    return nullptr;
}

std::string_view typeName(ImageType type) {
    switch (type) {
    case ImageType::Jpeg:
        return "JPEG";
    case ImageType::Png:
        return "PNG";
    case ImageType::Webp:
        return "WebP";
    case ImageType::Gif:
        return "GIF";
    }
    return "";
}

/**
 * Makes the pixels of a true-colour PNG's transparent colour transparent. libgd only notes that colour and
 * leaves its pixels opaque.
 */
void applyTransparentColour(gdImageStruct& pixels) {
    const int colour = gdImageGetTransparent(&pixels);
    if (colour < 0) return;
    for (int y = 0; y < pixels.sy; ++y) {
        std::replace(pixels.tpixels[y], pixels.tpixels[y] + pixels.sx, colour,
                     colour | gdAlphaTransparent << 24);
    }
}

void makeTrueColour(gdImageStruct& pixels) {
    if (gdImageTrueColor(&pixels) != 0) {
        applyTransparentColour(pixels);
    } else if (gdImagePaletteToTrueColor(&pixels) == 0) {
        throw util::Exception("There is not enough memory for the image.");
    }
    pixels.transparent = -1;
    gdImageInterlace(&pixels, 0);
}

/** Copies pixel by pixel, because libgd's own rotation interpolates and can add a border. */
Pixels upright(Pixels source, int orientation) {
    if (orientation == 1) return source;
    const bool transposed = orientation >= 5;
    const bool mirrored = orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
    const bool upsideDown = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
    Pixels result = transposed ? blankPixels(source->sy, source->sx) : blankPixels(source->sx, source->sy);
    for (int y = 0; y < result->sy; ++y) {
        for (int x = 0; x < result->sx; ++x) {
            const int column = transposed ? y : x;
            const int row = transposed ? x : y;
            result->tpixels[y][x] = source->tpixels[upsideDown ? source->sy - 1 - row : row]
                                                   [mirrored ? source->sx - 1 - column : column];
        }
    }
    return result;
}

bool hasTransparency(const gdImageStruct& pixels) {
    return std::any_of(pixels.tpixels, pixels.tpixels + pixels.sy, [&](const int* row) {
        return std::any_of(row, row + pixels.sx,
                           [](int pixel) { return gdTrueColorGetAlpha(pixel) != gdAlphaOpaque; });
    });
}

/** Takes ownership of the block that libgd has encoded into; libgd allocates it with malloc(). */
util::Buffer encoded(void* block, int size, std::string_view type) {
    util::Buffer result(block, block == nullptr ? 0 : static_cast<std::size_t>(size));
    if (result.empty())
        throw util::Exception(std::string("The image can't be written as ").append(type).append("."));
    return result;
}

} // namespace

Pixels decodePixels(std::span<const std::byte> bytes, const ImageHeader& header) {
    silenceGd();
    Pixels pixels = decodeAny(bytes.first(header.usedBytes), header.type);
    if (!pixels || pixels->sx != header.widthPixels || pixels->sy != header.heightPixels) {
        throw util::Exception(std::string("The ").append(typeName(header.type)).append(" image is damaged."));
    }
    makeTrueColour(*pixels);
    return upright(std::move(pixels), header.orientation);
}

Pixels scalePixels(gdImageStruct& source, int widthPixels, int heightPixels) {
    silenceGd();
    Pixels result = blankPixels(widthPixels, heightPixels);
    gdImageCopyResampled(result.get(), &source, 0, 0, 0, 0, widthPixels, heightPixels, source.sx, source.sy);
    return result;
}

util::Buffer encodePng(gdImageStruct& pixels) {
    silenceGd();
    gdImageSaveAlpha(&pixels, hasTransparency(pixels) ? 1 : 0);
    int size = 0;
    void* block = gdImagePngPtrEx(&pixels, &size, pngLevel);
    return encoded(block, size, "PNG");
}

util::Buffer encodeJpeg(gdImageStruct& pixels) {
    silenceGd();
    Pixels canvas;
    if (hasTransparency(pixels)) {
        canvas = blankPixels(pixels.sx, pixels.sy);
        gdImageFilledRectangle(canvas.get(), 0, 0, pixels.sx - 1, pixels.sy - 1, gdTrueColor(255, 255, 255));
        gdImageAlphaBlending(canvas.get(), 1);
        gdImageCopy(canvas.get(), &pixels, 0, 0, 0, 0, pixels.sx, pixels.sy);
    }
    int size = 0;
    void* block = gdImageJpegPtr(canvas ? canvas.get() : &pixels, &size, jpegQuality);
    return encoded(block, size, "JPEG");
}

} // namespace image
