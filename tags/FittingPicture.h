// SPDX-License-Identifier: MIT
#pragma once

#include "util/Buffer.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace tags {

/** What the players that are to show a picture cope with. */
struct PictureLimits {
    int maxSidePixels = 1200;
    std::size_t maxBytes = SIZE_MAX;
    bool baselineJpegOnly = false; // otherwise every JPEG and PNG
};

/**
 * The picture as it was received where that is fit, as each encoding costs quality; or else upright, no
 * larger than it may be, and a JPEG, but a PNG where it was one or has transparent parts and a PNG will do.
 * @throws util::Exception when it can't be decoded, or doesn't fit even when it is small
 */
[[nodiscard]] util::Buffer fittingPicture(std::span<const std::byte> received, const PictureLimits& limits);

} // namespace tags
