// SPDX-License-Identifier: MIT
#include "tags/PictureLimits.h"

#include <algorithm>

namespace tags {

bool fits(std::span<const std::byte> received, const PictureLimits& limits) {
    const image::ImageHeader header = image::readImageHeader(received, whateverWasAccepted);
    const bool type = header.baselineJpeg ||
                      (!limits.baselineJpegOnly &&
                       (header.type == image::ImageType::Jpeg || header.type == image::ImageType::Png));
    return type && header.orientation == 1 &&
           std::max(header.widthPixels, header.heightPixels) <= limits.maxSidePixels &&
           received.size() <= limits.maxBytes;
}

} // namespace tags
