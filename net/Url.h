// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace net {

/** `bytes` as the value in a URL's query or a segment of its path: all but letters, digits and "-._~" in
 * percent notation (RFC 3986). */
[[nodiscard]] std::string urlEncoded(std::string_view bytes);

inline constexpr std::size_t maxWebAddressBytes = 2048;

/** Whether it is a whole http or https URL of at most maxWebAddressBytes, without a name or password in it.
 */
[[nodiscard]] bool isWebAddress(std::string_view text) noexcept;

} // namespace net
