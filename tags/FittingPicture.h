// SPDX-License-Identifier: MIT
#pragma once

#include "tags/PictureLimits.h"
#include "util/Buffer.h"

#include <cstddef>
#include <span>

namespace tags {

/**
 * The picture as it was received where that fits, as each encoding costs quality; or else upright, no larger
 * than it may be, and a JPEG, but a PNG where it was one or has transparent parts and a PNG will do.
 * @throws util::Exception when it can't be decoded, or doesn't fit even when it is small
 */
[[nodiscard]] util::Buffer fittingPicture(std::span<const std::byte> received, const PictureLimits& limits);

} // namespace tags
