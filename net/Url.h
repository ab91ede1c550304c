// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace net {

/** `bytes` as the value in a URL's query or a segment of its path: all but letters, digits and "-._~" in
 * percent notation (RFC 3986). */
[[nodiscard]] std::string urlEncoded(std::string_view bytes);

} // namespace net
