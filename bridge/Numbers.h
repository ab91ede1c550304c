// SPDX-License-Identifier: MIT
#pragma once

#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>

namespace bridge {

/** The whole number that a text begins with, up to INT_MAX, and how many characters it takes. */
struct LeadingNumber {
    int value = 0;
    std::size_t length = 0; // 0 where there is none
};

[[nodiscard]] inline LeadingNumber leadingNumber(std::string_view text) noexcept {
    int value = 0;
    if (text.starts_with('-')) return {};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc()) return {};
    return {value, static_cast<std::size_t>(end - text.data())};
}

/** A text that is nothing but a whole number from 0 to INT_MAX; none for any other. */
[[nodiscard]] inline std::optional<int> wholeNumber(std::string_view text) noexcept {
    const LeadingNumber number = leadingNumber(text);
    if (number.length == 0 || number.length != text.size()) return std::nullopt;
    return number.value;
}

} // namespace bridge
