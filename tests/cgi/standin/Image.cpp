// SPDX-License-Identifier: MIT
#include "util/Image.h"

#include "tests/cgi/standin/ImageContent.h"
#include "tests/cgi/standin/Recorder.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

namespace {

struct HeldImage : gdImageStruct {
    explicit HeldImage(const std::string& content) : gdImageStruct(), bytes(content) {}
    std::string bytes;
};

} // namespace

namespace image {

void ImageContent::set(util::Image& image, const std::string& bytes) {
    const std::unique_ptr<HeldImage> old(static_cast<HeldImage*>(image.gdImage));
    image.gdImage = bytes.empty() ? nullptr : std::make_unique<HeldImage>(bytes).release();
}

std::string ImageContent::get(const util::Image& image) {
    return image.gdImage == nullptr ? std::string() : static_cast<const HeldImage*>(image.gdImage)->bytes;
}

} // namespace image

namespace util {

using image::ImageContent;

// Not logged: each SongInfo holds an image, so every SongInfo would add a line.
Image::Image() : gdImage(nullptr) { standin::obey("Image::Image"); }

Image::Image(const Image& other) : gdImage(nullptr) { ImageContent::set(*this, ImageContent::get(other)); }

Image& Image::operator=(const Image& other) {
    Image copy(other);
    std::swap(gdImage, copy.gdImage);
    return *this;
}

Image::~Image() { ImageContent::set(*this, {}); }

bool Image::isValid() const { return standin::calledForBool(gdImage != nullptr, "Image::isValid"); }

bool Image::set(const void* data, unsigned int length) {
    const std::string bytes(static_cast<const char*>(data), length);
    if (bytes.empty()) return false;
    ImageContent::set(*this, bytes);
    return true;
}

// Fails when it is scripted to return an empty text.
bool Image::getRawPNG(void** data, std::size_t& size) {
    const std::string png = standin::called("Image::getRawPNG").value_or(ImageContent::get(*this));
    if (png.empty()) return false;
    // NOLINTNEXTLINE(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory): the caller frees it
    *data = std::malloc(png.size());
    size = png.size();
    std::memcpy(*data, png.data(), size);
    return true;
}

} // namespace util
