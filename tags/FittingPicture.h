// SPDX-License-Identifier: MIT
#pragma once

#include "tags/PictureLimits.h"
#include "util/Buffer.h"

#include <cstddef>
#include <span>

namespace tags {

/**
 * The received picture if it fits, because encoding it again costs quality. Otherwise a new picture, turned
 * upright and scaled down. It is a PNG if the received one is a PNG or has transparent parts, and a PNG is
 * allowed and small enough; else it is a JPEG.
 * @throws util::Exception when it can't be decoded, or doesn't fit even at a small size
 */
[[nodiscard]] util::Buffer fittingPicture(std::span<const std::byte> received, const PictureLimits& limits);

} // namespace tags
