// SPDX-License-Identifier: MIT
#pragma once

#include "app/Parameters.h"
#include "store/CoverStore.h"
#include "util/Image.h"

#include <optional>

namespace app {

/**
 * A stored image with the PNG that goes out for it: the kept one, or one made now and kept.
 * @return nothing when the image has gone meanwhile: another process has replaced the cover
 * @throws util::Exception
 */
[[nodiscard]] std::optional<util::Image> storedCover(store::CoverStore& store, Parameters& parameters,
                                                     const store::ImageInfo& info);

} // namespace app
