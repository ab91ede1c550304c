// SPDX-License-Identifier: MIT
#pragma once

#include "util/Image.h"

#include <string>

namespace app {

/**
 * The image behind an image URL: fetched from an http or https address, or taken out of the open store where
 * the URL is "cover:" and the hash of a stored image. Type by content, within the limits of the parameters.
 * @throws util::Exception
 */
[[nodiscard]] util::Image imageFrom(const std::string& url);

/** `url` for a diagnostic line, without what may be secret. */
[[nodiscard]] std::string shown(const std::string& url);

} // namespace app
