// SPDX-License-Identifier: MIT
#pragma once

#include "util/Image.h"

#include <string>

namespace util {

/**
 * The stand-in's own way to what an image holds: the bytes that it was made from, whatever they are. Decoding
 * them is not the stand-in's business.
 */
class ImageContent {
public:
    /** Empty bytes leave no image. */
    static void set(Image& image, const std::string& bytes);

    /** Empty when there is no image. */
    static std::string get(const Image& image);
};

} // namespace util
