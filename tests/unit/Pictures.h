// SPDX-License-Identifier: MIT
#pragma once

#include <gd.h>

#include <memory>
#include <string>

namespace tests {

struct ImageDestroyer {
    void operator()(gdImagePtr image) const noexcept { gdImageDestroy(image); }
};
using Picture = std::unique_ptr<gdImage, ImageDestroyer>;

/** A picture in which no two neighbouring pixels are alike. */
inline Picture picture(int widthPixels, int heightPixels, int seed = 0) {
    Picture image(gdImageCreateTrueColor(widthPixels, heightPixels));
    for (int y = 0; y < heightPixels; ++y)
        for (int x = 0; x < widthPixels; ++x)
            gdImageSetPixel(image.get(), x, y,
                            gdTrueColor((x * 7 + seed) % 256, (y * 5 + seed) % 256, (x + y) % 256));
    return image;
}

template <typename Encode>
std::string encoded(const Picture& image, Encode encode) {
    int size = 0;
    const std::unique_ptr<void, decltype(&gdFree)> bytes(encode(image.get(), &size), &gdFree);
    return {static_cast<const char*>(bytes.get()), static_cast<std::size_t>(size)};
}

inline std::string png(const Picture& image) {
    return encoded(image, [](gdImagePtr of, int* size) { return gdImagePngPtr(of, size); });
}

inline std::string jpeg(const Picture& image) {
    return encoded(image, [](gdImagePtr of, int* size) { return gdImageJpegPtr(of, size, 90); });
}

} // namespace tests
