// SPDX-License-Identifier: MIT
#pragma once

#include "image/ImageHeader.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

namespace tags {

/** What the weakest player that shows the picture can handle. */
struct PictureLimits {
    int maxSidePixels = 1200;
    std::size_t maxBytes = SIZE_MAX;
    bool baselineJpegOnly = false; // else any JPEG or PNG
};

/** Limits that refuse nothing, because the picture was checked when it was received. */
inline constexpr image::ImageLimits whateverWasAccepted{.maxBytes = std::numeric_limits<std::size_t>::max(),
                                                        .maxPixels =
                                                            std::numeric_limits<std::uint64_t>::max()};

/** Whether the received picture can be used unchanged. @throws util::Exception when it isn't a picture */
[[nodiscard]] bool fits(std::span<const std::byte> received, const PictureLimits& limits);

} // namespace tags
