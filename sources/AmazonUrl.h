// SPDX-License-Identifier: MIT
#pragma once

#include "sources/Names.h"
#include "sources/Source.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace sources {

/** Access to the product search. */
struct AmazonAccess {
    std::string url; // base URL
    std::string key;
    std::string secret;
    std::string tag; // may be empty
};

/** Read from the parameters; nothing if the key or its secret isn't set. */
[[nodiscard]] std::optional<AmazonAccess> amazonAccess(const ParameterReader& parameter);

/**
 * A signed search for an album. The service accepts it for 15 minutes from `now`. fullUrl() gives the URL to
 * open.
 * @param page the page of results; clamped to 1 to 10, which is what the service knows
 * @throws util::Exception when signing fails
 */
[[nodiscard]] Request amazonSearch(const AmazonAccess& access, const Names& names, int page,
                                   std::chrono::system_clock::time_point now);

/** HMAC-SHA256 in Base64. @throws util::Exception when signing fails */
[[nodiscard]] std::string amazonSignature(std::string_view secret, std::string_view text);

} // namespace sources
