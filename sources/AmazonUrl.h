// SPDX-License-Identifier: MIT
#pragma once

#include "sources/Names.h"
#include "sources/Source.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace sources {

/** What a search among the products needs. */
struct AmazonAccess {
    std::string url; // base
    std::string key;
    std::string secret;
    std::string tag; // may be empty
};

/** As the parameters say; nothing where the key or its secret isn't set. */
[[nodiscard]] std::optional<AmazonAccess> amazonAccess(const ParameterReader& parameter);

/**
 * The search for an album, signed; valid for 15 minutes from `now`, as the service has it. fullUrl() has what
 * a client would open.
 * @param page of the results; the service knows 1 to 10, others count as the nearest of these
 * @throws util::Exception when it can't be signed
 */
[[nodiscard]] Request amazonSearch(const AmazonAccess& access, const Names& names, int page,
                                   std::chrono::system_clock::time_point now);

/** HMAC-SHA256 in Base64. @throws util::Exception */
[[nodiscard]] std::string amazonSignature(std::string_view secret, std::string_view text);

} // namespace sources
