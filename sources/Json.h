// SPDX-License-Identifier: MIT
#pragma once

#include "sources/Fields.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <string_view>

// Answers in JSON. No exception of the JSON library leaves these functions.

namespace sources::json {

using Value = nlohmann::json;

/** Nothing if it isn't JSON, is larger than maxParsedBytes, or is nested deeper than any real answer. */
[[nodiscard]] std::optional<Value> tryParse(std::string_view document);

/** @throws util::Exception where tryParse() returns nothing */
[[nodiscard]] Value parse(std::string_view document);

/** The member of that name; null if it is missing or `value` is no object. Lives as long as `value`. */
[[nodiscard]] const Value& member(const Value& value, std::string_view name);

/** The elements of an array; empty for any other type. They live as long as `value`. */
[[nodiscard]] const Value::array_t& elements(const Value& value);

/** The members of an object; empty for any other type. They live as long as `value`. */
[[nodiscard]] const Value::object_t& members(const Value& value);

/** The member if it is a string, else empty. Lives as long as `value`. */
[[nodiscard]] std::string_view text(const Value& value, std::string_view name);

[[nodiscard]] std::string name(const Value& value, std::string_view name);
[[nodiscard]] std::string webAddress(const Value& value, std::string_view name);

/** An id or a count, stored as a number or as a string of digits; empty if it is neither. */
[[nodiscard]] std::string digits(const Value& value, std::string_view name);

} // namespace sources::json
