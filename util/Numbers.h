// SPDX-License-Identifier: MIT
#pragma once

#include <charconv>
#include <concepts>
#include <optional>
#include <string_view>
#include <system_error>

namespace util {

/** `text` as a whole number from 0 on. Nothing for a text with anything but digits, and for a number that is
 * too large for the type. */
template <std::integral Number>
[[nodiscard]] std::optional<Number> wholeNumber(std::string_view text) noexcept {
    if (text.starts_with('-')) return std::nullopt;
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

} // namespace util
