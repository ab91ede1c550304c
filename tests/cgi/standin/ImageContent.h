// SPDX-License-Identifier: MIT
#pragma once

#include "util/Image.h"

#include <string>

namespace image {

/** The stand-in's access to an image's bytes. These can be any bytes: the stand-in never decodes them. */
class ImageContent {
public:
    /** Empty `bytes` remove the image. */
    static void set(util::Image& image, const std::string& bytes);

    /** Empty when there is no image. */
    static std::string get(const util::Image& image);
};

} // namespace image
