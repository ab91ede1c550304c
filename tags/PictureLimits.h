// SPDX-License-Identifier: MIT
#pragma once

#include "image/ImageHeader.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

namespace tags {

/** What the players that are to show a picture cope with. */
struct PictureLimits {
    int maxSidePixels = 1200;
    std::size_t maxBytes = SIZE_MAX;
    bool baselineJpegOnly = false; // otherwise every JPEG and PNG
};

/** Nothing is refused as a picture for a song that was accepted when it came in. */
inline constexpr image::ImageLimits whateverWasAccepted{.maxBytes = std::numeric_limits<std::size_t>::max(),
                                                        .maxPixels =
                                                            std::numeric_limits<std::uint64_t>::max()};

/** Whether a picture can stay as it was received. @throws util::Exception when it is none */
[[nodiscard]] bool fits(std::span<const std::byte> received, const PictureLimits& limits);

} // namespace tags
