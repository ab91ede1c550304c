// SPDX-License-Identifier: MIT
#include "image/Image.h"

#include "image/CarryingImage.h"
#include "image/ImageContent.h"
#include "util/Exception.h"
#include "util/File.h"
#include "util/Log.h"

#include <strings.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <exception>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace util {
namespace {

image::CarryingImage& carrying(gdImagePtr image) { return *static_cast<image::CarryingImage*>(image); }

gdImagePtr copyOrNull(gdImagePtr image) {
    return image == nullptr ? nullptr : image::copyOf(carrying(image)).release();
}

/** Runs `action`. When it throws, logs one line with the reason to standard error and returns false. */
template <typename Action>
bool succeeds(std::string_view purpose, Action action) {
    try {
        action();
        return true;
    } catch (const std::exception& failure) {
        logLine(std::string(purpose).append(": ").append(failure.what()));
        return false;
    }
}

/** The carried file's own bytes if it has that type and is upright; otherwise the pixels, newly encoded. */
template <typename Encoder>
Buffer encodedAs(image::ImageType type, gdImagePtr image, Encoder encode) {
    image::CarryingImage& source = carrying(image);
    const image::ReceivedImage& file = source.file;
    if (file.bytes && file.header.type == type && file.header.orientation == 1) {
        return Buffer(file.bytes->bytes().first(file.header.usedBytes));
    }
    image::needPixels(source);
    return encode(source);
}

Buffer asPng(gdImagePtr image) { return encodedAs(image::ImageType::Png, image, image::encodePng); }

Buffer asJpeg(gdImagePtr image) { return encodedAs(image::ImageType::Jpeg, image, image::encodeJpeg); }

bool endsInJpg(std::string_view path) {
    const auto endsIn = [&](std::string_view ending) {
        return path.size() >= ending.size() &&
               strncasecmp(path.end() - ending.size(), ending.data(), ending.size()) == 0;
    };
    return endsIn(".jpg") || endsIn(".jpeg");
}

template <typename Encoder>
bool handOut(gdImagePtr image, Encoder encode, std::string_view purpose, void** data, std::size_t& size) {
    *data = nullptr;
    size = 0;
    return image != nullptr && succeeds(purpose, [&] {
               Buffer bytes = encode(image);
               size = bytes.size();
               *data = bytes.release();
           });
}

} // namespace

Image::Image() : gdImage(nullptr) {}

Image::Image(const void* data, unsigned int length) : gdImage(nullptr) { set(data, length); }

Image::Image(const Image& other) : gdImage(copyOrNull(other.gdImage)) {}

Image::Image(Image* other) : gdImage(other == nullptr ? nullptr : copyOrNull(other->gdImage)) {}

Image& Image::operator=(const Image& other) {
    Image copy(other);
    std::swap(gdImage, copy.gdImage);
    return *this;
}

Image::~Image() { const image::CarryingImagePtr owned(static_cast<image::CarryingImage*>(gdImage)); }

bool Image::isValid() const { return gdImage != nullptr; }

int Image::width() const { return gdImage == nullptr ? 0 : gdImage->sx; }

int Image::height() const { return gdImage == nullptr ? 0 : gdImage->sy; }

bool Image::load(const char* path) {
    if (path == nullptr) return false;
    return succeeds(std::string("Reading ").append(path), [&] {
        const image::ImageLimits limits;
        Image loaded = image::ImageContent::decode(readFile(path, limits.maxBytes).bytes(), limits,
                                                   image::AcceptedTypes::All);
        std::swap(gdImage, loaded.gdImage);
    });
}

bool Image::save(const char* path) {
    if (gdImage == nullptr || path == nullptr) return false;
    return succeeds(std::string("Writing ").append(path),
                    [&] { replaceFile(path, (endsInJpg(path) ? asJpeg(gdImage) : asPng(gdImage)).bytes()); });
}

bool Image::set(const void* data, unsigned int length) {
    return succeeds("Decoding an image", [&] {
        const std::span bytes(static_cast<const std::byte*>(data), data == nullptr ? 0 : length);
        Image decoded = image::ImageContent::decode(bytes, {}, image::AcceptedTypes::All);
        std::swap(gdImage, decoded.gdImage);
    });
}

bool Image::resample(int widthPixels, int heightPixels) {
    if (gdImage == nullptr || widthPixels <= 0 || heightPixels <= 0) return false;
    if (widthPixels == gdImage->sx && heightPixels == gdImage->sy) return true;
    return succeeds("Scaling an image", [&] {
        const auto pixels =
            static_cast<std::uint64_t>(widthPixels) * static_cast<std::uint64_t>(heightPixels);
        if (pixels > image::ImageLimits{}.maxPixels) throw Exception("The size is too large.");
        image::needPixels(carrying(gdImage));
        Image scaled;
        scaled.gdImage = image::carry(image::scalePixels(*gdImage, widthPixels, heightPixels), {}).release();
        std::swap(gdImage, scaled.gdImage);
    });
}

bool Image::resize(int widthPixels, int heightPixels, bool enlarge) {
    if (gdImage == nullptr || widthPixels <= 0 || heightPixels <= 0) return false;
    const double scale = std::min(double(widthPixels) / gdImage->sx, double(heightPixels) / gdImage->sy);
    if (scale > 1 && !enlarge) return true;
    const auto side = [&](int length) { return std::max(1, static_cast<int>(std::lround(length * scale))); };
    return resample(side(gdImage->sx), side(gdImage->sy));
}

bool Image::getRawPNG(void** data, std::size_t& size) {
    return handOut(gdImage, asPng, "Writing a PNG image", data, size);
}

bool Image::getRawJPG(void** data, std::size_t& size) {
    return handOut(gdImage, asJpeg, "Writing a JPEG image", data, size);
}

} // namespace util
