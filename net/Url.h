// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace net {

/**
 * Escapes `bytes` for a value in a URL's query or for a segment of its path. Everything except letters,
 * digits and "-._~" becomes percent-encoded (RFC 3986).
 */
[[nodiscard]] std::string urlEncoded(std::string_view bytes);

inline constexpr std::size_t maxWebAddressBytes = 2048;

/** Whether it is a whole http or https URL of at most maxWebAddressBytes, without a name or password in it.
 */
[[nodiscard]] bool isWebAddress(std::string_view text) noexcept;

} // namespace net
