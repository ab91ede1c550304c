// SPDX-License-Identifier: MIT
#pragma once

#include "tests/unit/Bytes.h"
#include "tests/unit/Pictures.h"
#include "util/Image.h"

#include <gd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace tests {

inline std::filesystem::path imageFile(const std::string& name) {
    return std::filesystem::path(SLEEVERY_SOURCE_DIR) / "tests/fixtures/images" / name;
}

inline std::string imageBytes(const std::string& name) {
    std::ifstream file(imageFile(name), std::ios::binary);
    if (!file) throw std::runtime_error("no image file " + name);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline std::vector<std::string> imageNames() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(imageFile(""))) {
        if (entry.path().extension() != ".py") names.push_back(entry.path().filename());
    }
    return names;
}

/** A colour in libgd's channels. alike() compares with a tolerance, because lossy encoders change colours. */
struct Colour {
    int red;
    int green;
    int blue;
    int alpha = gdAlphaOpaque; // 127 is transparent

    friend std::ostream& operator<<(std::ostream& out, const Colour& colour) {
        return out << colour.red << "," << colour.green << "," << colour.blue << "," << colour.alpha;
    }
};

inline bool alike(const Colour& one, const Colour& other, int tolerance = 12) {
    const bool hidden = one.alpha == gdAlphaTransparent && other.alpha == gdAlphaTransparent;
    return hidden ||
           (std::abs(one.red - other.red) <= tolerance && std::abs(one.green - other.green) <= tolerance &&
            std::abs(one.blue - other.blue) <= tolerance && std::abs(one.alpha - other.alpha) <= 1);
}

inline Colour colourAt(const Picture& picture, int x, int y) {
    const int pixel = gdImageGetTrueColorPixel(picture.get(), x, y);
    return {gdTrueColorGetRed(pixel), gdTrueColorGetGreen(pixel), gdTrueColorGetBlue(pixel),
            gdTrueColorGetAlpha(pixel)};
}

/** The colours at the centres of the four quarters, row by row. */
inline std::vector<Colour> quartersOf(const Picture& picture) {
    const int x = gdImageSX(picture.get()) / 4;
    const int y = gdImageSY(picture.get()) / 4;
    return {colourAt(picture, x, y), colourAt(picture, 3 * x, y), colourAt(picture, x, 3 * y),
            colourAt(picture, 3 * x, 3 * y)};
}

inline Picture decodedPng(std::string bytes) {
    return Picture(gdImageCreateFromPngPtr(static_cast<int>(bytes.size()), bytes.data()));
}

inline Picture decodedJpeg(std::string bytes) {
    return Picture(gdImageCreateFromJpegPtr(static_cast<int>(bytes.size()), bytes.data()));
}

/** The bytes from getRawPNG() or getRawJPG(); empty when it fails. */
inline std::string rawBytes(util::Image& image, bool (util::Image::*get)(void**, std::size_t&)) {
    void* data = nullptr;
    std::size_t size = 0;
    if (!(image.*get)(&data, size)) return {};
    std::string bytes(static_cast<const char*>(data), size);
    std::free(data); // NOLINT(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
    return bytes;
}

inline std::string rawPng(util::Image& image) { return rawBytes(image, &util::Image::getRawPNG); }

inline std::string rawJpg(util::Image& image) { return rawBytes(image, &util::Image::getRawJPG); }

inline util::Image imageOf(const std::string& bytes) {
    return {bytes.data(), static_cast<unsigned int>(bytes.size())};
}

} // namespace tests
